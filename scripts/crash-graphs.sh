#!/usr/bin/env bash
# Kills the writer of the graphs file at random times while a slider is dragged, each time from where the former has
# left the file: scripts/crash-graphs.sh [CRASHES], 2000 where nothing is said. Ends with 0 when the file always was the
# map of one of the steps, whole.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

crashes=${1-2000}
if [ $# -gt 1 ] || ! [[ $crashes =~ ^[1-9][0-9]{0,5}$ ]]; then
  echo "usage: scripts/crash-graphs.sh [CRASHES]" >&2
  exit 2
fi
scripts/install-packages.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target graph_crash_test >&2
BRINDLEMUX_CRASHES=$crashes exec build/dev/tests/graph_crash_test
