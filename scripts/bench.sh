#!/usr/bin/env bash
# Builds the release preset and prints how fast the core is: scripts/bench.sh [OPTION...], where the options are those of
# Google Benchmark, --benchmark_filter=REGEX among them.
#
# Every row compares an operation with what bounds it, measured in turns in the same run; the floor or ceiling that the
# figure is held to stands beside it. Measure on a machine that has nothing else to do.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target core_bench >&2
exec build/release/bench/core_bench "$@"
