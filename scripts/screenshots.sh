#!/usr/bin/env bash
# Makes the pictures of the window in docs/images anew. They show a simulated server, so that they need no sound, no
# display and no hardware.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

preset=${PRESET:-dev}
scripts/install-packages.sh
cmake --preset "$preset" >/dev/null
ninja -C "build/$preset" screenshots
mkdir -p docs/images
"build/$preset/tests/screenshots" docs/images
