#!/usr/bin/env bash
# Drives engines on a simulated audio server through many long random histories:
# scripts/histories.sh [--preset NAME] [--first-seed N] [--seeds N] [--steps M]
#
# 20 seeds of 10000 steps where nothing is said, in the preset `dev`. A failure prints its seed and the shortest prefix
# that still fails; with --aloud every step is told.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

preset=dev
if [ "${1-}" = --preset ]; then
  preset=${2:?a preset\'s name}
  shift 2
fi

scripts/install-packages.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target long_histories >&2
exec "build/$preset/tests/long_histories" "$@"
