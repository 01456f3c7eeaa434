#!/usr/bin/env bash
# Runs the program on a private audio server with routes that carry sound, and traces its data thread: fails on every
# allocation and on every system call but the server's wake-ups, and prints how often each call was made:
# scripts/trace-data-thread.sh
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
cmake --preset dev
cmake --build --preset dev --target realtime_test
exec build/dev/tests/realtime_test
