#!/usr/bin/env bash
# Runs the program for a long time beside a desktop that never rests: scripts/endurance.sh [MINUTES [SEED]], 30 minutes
# where nothing is said. Four devices are edited at random while outputs, applications and the server come and go; every
# half minute everything must be heard again. Ends with 0 when there was no error, no growth and no sound that stays;
# what was measured is printed and kept in build/dev/endurance.txt.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

minutes=${1-30}
if [ $# -gt 2 ] || ! [[ $minutes =~ ^[0-9]+([.][0-9]+)?$ ]]; then
  echo "usage: scripts/endurance.sh [MINUTES [SEED]]" >&2
  exit 2
fi
scripts/install-packages.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target endurance >&2
build/dev/tests/endurance "$minutes" ${2+"$2"} | tee build/dev/endurance.txt
