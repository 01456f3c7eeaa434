#!/usr/bin/env bash
# Creates, renames, resizes and deletes devices on a private audio server, in random order, while streams run and every
# core is busy: scripts/stress-driver.sh [ROUNDS], 1000 where nothing is said. Ends with 0 when the server and the
# session manager have lived through it and the devices work.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

rounds=${1-1000}
if [ $# -gt 1 ] || ! [[ $rounds =~ ^[1-9][0-9]{0,5}$ ]]; then
  echo "usage: scripts/stress-driver.sh [ROUNDS]" >&2
  exit 2
fi
scripts/install-packages.sh
cmake --preset dev
cmake --build --preset dev --target driver_test brindlemux_driver
BRINDLEMUX_STRESS_ROUNDS=$rounds exec build/dev/tests/driver_test --gtest_filter='DriverStress.*'
