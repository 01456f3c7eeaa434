#!/usr/bin/env bash
# Builds the release preset and prints how long one step of a gain slider keeps the program's main thread busy, with 32
# devices of 16 sources each: scripts/bench-edits.sh [FOLDER...], where each folder takes a graphs file in turn; without
# one, the build folder and memory (/dev/shm).
#
# A thousand steps follow each other without a pause. The last column is what one step and its save took in all, the
# disk included. Measure on a machine that has nothing else to do.
set -euo pipefail
scripts=$(dirname "$(realpath "$0")")
folders=()
for folder in "$@"; do folders+=("$(realpath "$folder")"); done
cd "$scripts/.."

scripts/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target edit_bench >&2
if [ ${#folders[@]} -eq 0 ]; then
  folders=(build/release)
  if [ -w /dev/shm ]; then folders+=(/dev/shm); fi
fi
exec build/release/bench/edit_bench "${folders[@]}"
