#!/usr/bin/env bash
# Builds Brindlemux and runs every test: scripts/test.sh [--preset NAME]. The preset is `dev` where none is named.
#
# Its last line is "N passed, N failed". Ends with 0 only when everything was built, some test ran and none failed.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

preset=dev
case ${1-} in
  --preset) preset=${2:?a preset\'s name} ;;
  '') ;;
  *)
    echo "usage: scripts/test.sh [--preset NAME]" >&2
    exit 2
    ;;
esac

scripts/install-packages.sh
cmake --preset "$preset"
cmake --build --preset "$preset"

report=build/$preset/tests.xml
log=build/$preset/tests.log
rm -f "$report"
status=0
ctest --preset "$preset" --no-tests=error --parallel "$(nproc)" --output-junit "$PWD/$report" | tee "$log" || status=$?
[ -f "$report" ] || {
  echo "test: ctest left no report" >&2
  exit 1
}

# count NAME: one of the totals in the report's first element.
count() { sed -n '/<testsuite/,/>/p' "$report" | grep -o "\b$1=\"[0-9]*\"" | head -n 1 | grep -o '[0-9]*'; }
total=$(count tests)
failed=$(count failures)
# What the tests that failed said stands once more at the end, where it is found without scrolling.
awk '
  /^ *[0-9]+\/[0-9]+ Test +#/ { failed = /\*\*\*/; gsub(/\.\.\.+/, ""); if (failed) print "" }
  /^ *Start +[0-9]+:/ { next }
  /^[0-9]+% tests passed/ { failed = 0 }
  failed' "$log"
unrun=$(($(count skipped) + $(count disabled)))
[ "$unrun" -eq 0 ] || echo "$unrun did not run"
echo "$((total - failed - unrun)) passed, $failed failed"
[ "$failed" -eq 0 ] || exit 1
exit "$status"
