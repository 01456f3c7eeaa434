#!/usr/bin/env bash
# Builds the release preset and prints the share of a processor that the program takes with a crowded graph (a device of
# 16 channels, 24 sources, 8 monitors, 200 wires) whose applications really play: scripts/bench-window.sh [--seconds N].
# The window is open on a display that nobody sees, drawn by the software renderer; then everything is silent; then the
# window is hidden. "its window" is the main thread's part; "frames/s" are the frames that were drawn.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target costs_bench >&2
exec build/release/bench/costs_bench window "$@"
