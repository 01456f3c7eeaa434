#!/usr/bin/env bash
# Builds the driver, the PipeWire module that publishes the virtual devices: scripts/build-driver.sh. Installs the Debian
# packages that the build needs and the system lacks. scripts/install-driver.sh then puts it into the system.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
cmake --preset release
cmake --build --preset release --target brindlemux_driver
