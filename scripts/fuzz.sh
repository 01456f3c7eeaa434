#!/usr/bin/env bash
# Drives the fuzz targets by coverage: scripts/fuzz.sh [--seconds N] [TARGET...]
#
# Every target for 60 seconds where nothing is said, one after the other; tests/fuzz/CMakeLists.txt names them. Each
# begins with what lies in tests/fuzz/corpus and in build/fuzz/corpus, where it leaves what it finds. An input that ends
# a target, takes longer than 10 seconds or 1 GiB of memory, or asks for 256 MiB at once, is left in build/fuzz/found.
# Ends with 0 only when there was none. Needs clang with its runtime (Debian: clang, libclang-rt-14-dev).
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

seconds=60
if [ "${1-}" = --seconds ]; then
  seconds=${2:?a number of seconds}
  shift 2
fi

if ! command -v clang++ >/dev/null || ! compgen -G "$(clang++ -print-resource-dir)/lib/*/libclang_rt.fuzzer*" >/dev/null; then
  echo "fuzz: this needs clang and its runtime; on Debian: apt-get install clang libclang-rt-14-dev" >&2
  exit 1
fi

scripts/install-packages.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz >&2

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for folder in tests/fuzz/corpus/*; do targets+=("$(basename "$folder")"); done
fi

# dictionary TARGET: the option that names its words.
dictionary() {
  case $1 in
    graphs_file | graph_store) echo -dict=tests/fuzz/graphs.dict ;;
    driver_*) echo -dict=tests/fuzz/driver.dict ;;
    server_objects) echo -dict=tests/fuzz/server.dict ;;
    desktop_entry) echo -dict=tests/fuzz/desktop.dict ;;
  esac
}

# Files of a target's own go where that costs nothing.
[ ! -d /dev/shm ] || export TMPDIR=${TMPDIR:-/dev/shm}
# What GLib leaks is seen only where it asks the C library for it.
export G_SLICE=always-malloc

failed=0
for target in "${targets[@]}"; do
  found=build/fuzz/found/$target
  grown=build/fuzz/corpus/$target
  mkdir -p "$found" "$grown"
  report=build/fuzz/$target.log
  status=0
  "build/fuzz/tests/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -malloc_limit_mb=256 \
    -max_len=65536 -print_final_stats=1 -artifact_prefix="$found/" "$(dictionary "$target")" \
    "$grown" "tests/fuzz/corpus/$target" >"$report" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$report")
  peak=$(sed -n 's/^stat::peak_rss_mb: *//p' "$report")
  coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$report" | tail -n 1)
  echo "$target: ${runs:-no} executions, ${coverage:-no coverage}, peak ${peak:-?} MiB"
  [ "$status" -eq 0 ] && continue
  failed=1
  tail -n 40 "$report"
done
exit "$failed"
