#!/usr/bin/env bash
# Runs a route of an application, a microphone and all system audio to a device and two monitors on a private audio
# server, and tells every minute what its engine has counted: scripts/route-for-long.sh [SECONDS [FRAMES]], an hour in
# blocks of 256 frames where nothing is said. Ends with 0 when no reader of a ring was moved after the start-up.
#
# Measure on a machine that has nothing else to do: threads that run too late leave their readers behind.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

seconds=${1-3600}
frames=${2-256}
if [ $# -gt 2 ] || ! [[ $seconds =~ ^[1-9][0-9]{0,5}$ && $frames =~ ^[1-9][0-9]{0,3}$ ]]; then
  echo "usage: scripts/route-for-long.sh [SECONDS [FRAMES]]" >&2
  exit 2
fi
scripts/install-packages.sh
cmake --preset dev
cmake --build --preset dev --target server_clock_test
export BRINDLEMUX_ROUTE_SECONDS=$seconds BRINDLEMUX_ROUTE_FRAMES=$frames
exec build/dev/tests/server_clock_test --gtest_filter='OneClock.noReader*'
