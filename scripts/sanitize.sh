#!/usr/bin/env bash
# Builds Brindlemux with sanitizers and runs its tests: scripts/sanitize.sh [asan|tsan]... [-- CTEST OPTION...]
#
# Both where none is named: first the address and undefined-behaviour sanitizers, then the thread sanitizer. Whatever
# they report fails the test. Nothing of it is suppressed but what Qt Quick keeps for good and what the threads of Qt and
# of the bus do among themselves (tests/app/sanitizer_defaults.cpp). The lint tests are left out: they read sources and
# run nothing. What follows `--` goes to ctest, `-R MixBus` for instance.
# Ends with 0 only when every test has passed; what they said is kept in build/PRESET/sanitize.log.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

presets=()
while [ $# -gt 0 ]; do
  case $1 in
    asan | tsan) presets+=("$1") ;;
    --)
      shift
      break
      ;;
    *)
      echo "usage: scripts/sanitize.sh [asan|tsan]... [-- CTEST OPTION...]" >&2
      exit 2
      ;;
  esac
  shift
done
[ ${#presets[@]} -gt 0 ] || presets=(asan tsan)

scripts/install-packages.sh
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=second_deadlock_stack=1
export LSAN_OPTIONS=print_suppressions=0
status=0
for preset in "${presets[@]}"; do
  cmake --preset "$preset" >/dev/null
  nice cmake --build --preset "$preset" >&2
  nice ctest --preset "$preset" --no-tests=error --exclude-regex '^lint_' "$@" |
    tee "build/$preset/sanitize.log" || status=1
done
exit "$status"
