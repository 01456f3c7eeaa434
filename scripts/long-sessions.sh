#!/usr/bin/env bash
# Runs what the tests do a few times with the program and a private audio server for long, and prints what it measured:
# scripts/long-sessions.sh KIND [COUNT]
#
#   restarts  kills and restarts the server while sound runs, 50 times where nothing is said: how long the sound takes
#             to come back, the program's memory and file descriptors, how long its event loop was held
#   hangs     stops the server and uses the program meanwhile, 10 times: how long each command holds the event loop
#   hotplug   has inputs and outputs vanish and return with other channels and rates, 100 times: every other wire stays
#             unchanged to the last bit
#   streams   has a tapped application open streams, 1000 times: how long after their ports appeared they are heard
#
# Ends with 0 when all is as it should be.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

usage() {
  echo "usage: scripts/long-sessions.sh restarts|hangs|hotplug|streams [COUNT]" >&2
  exit 2
}

[ $# -ge 1 ] && [ $# -le 2 ] || usage
program=server_trouble_test
case $1 in
  restarts) variable=BRINDLEMUX_SERVER_RESTARTS count=50 tests='ServerReturn.*' ;;
  hangs) variable=BRINDLEMUX_SERVER_HANGS count=10 tests='HungServer.*' ;;
  hotplug) variable=BRINDLEMUX_HOTPLUG_ROUNDS count=100 tests='Hotplug.*' ;;
  streams) variable=BRINDLEMUX_STREAM_RETURNS count=1000 tests='StreamReturn.*' program=pipewire_server_test ;;
  *) usage ;;
esac
count=${2-$count}
[[ $count =~ ^[1-9][0-9]{0,5}$ ]] || usage

scripts/install-packages.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target "$program" >&2
export "$variable=$count"
exec "build/dev/tests/$program" --gtest_filter="$tests"
