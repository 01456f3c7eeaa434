#!/usr/bin/env bash
# Holds everything to the rules that tools can check: scripts/lint.sh [FOLDER...]. The format of every file, the words of
# every file and commit message, every header by itself, every QML file, and with clang-tidy the C++ files below the
# folders; where none is named, all of them, which takes some 40 minutes of processor time, most of it for the tests.
#
# Ends with 0 when no tool has found anything.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

folders=("$@")
[ ${#folders[@]} -gt 0 ] || folders=(src driver bench tools tests)
scripts/install-packages.sh
cmake --preset dev >/dev/null

failed=0
# run WHAT COMMAND...: goes on after a failure, so that one run tells all.
run() {
  local what=$1
  shift
  echo "lint: $what" >&2
  "$@" || failed=1
}
# The search for words ends with 77 where there is no history to look at.
# shellcheck disable=SC2317  # called through run
words() { tests/lint/words.sh || [ $? -eq 77 ]; }
run format tests/lint/format.sh
run words words
run headers cmake --build --preset dev --target headers
run QML cmake --build --preset dev --target all_qmllint
run "clang-tidy over ${folders[*]}" tests/lint/tidy.sh build/dev "${folders[@]}"
exit "$failed"
