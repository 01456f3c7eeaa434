#!/usr/bin/env bash
# What clang-tidy finds in C++ files by the rules of .clang-tidy: tests/lint/tidy.sh BUILD FOLDER... Every .cpp file below
# the folders, with the flags that the build folder BUILD has for it. Prints what was found; fails when that is anything.
set -euo pipefail
build=$(realpath "${1:?a build folder}")
shift
cd "$(dirname "$(realpath "$0")")/../.."
[ -f "$build/compile_commands.json" ] || {
  echo "tidy: there is no $build/compile_commands.json; configure the build first" >&2
  exit 1
}
export build

# look FILE: silent where nothing is found.
look() {
  local found
  found=$(clang-tidy -p "$build" --quiet "$1" 2>&1) && return
  printf '%s\n' "$found" | grep -v '^[0-9]* warnings\? .*generated\.$'
  return 1
}
export -f look
# shellcheck disable=SC2016  # for the inner shell
find "$@" -name '*.cpp' -print0 | sort -z | xargs -0 -r -n 1 -P "$(nproc)" bash -c 'look "$1"' look
