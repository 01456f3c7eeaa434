#!/usr/bin/env bash
# Builds the release preset and prints what routes cost when the program makes them, beside the same routes made by
# PipeWire's own tools: scripts/bench-costs.sh [--rounds N] [--seconds N] [--frames N,N...] [--devices N,N...]. Without
# options: three rounds of four seconds with 64, 128, 256 and 512 frames, and with one and four devices.
#
# The routes, for each device: two applications that play, one microphone, two monitors, all in stereo. "pw-loopback" is
# a loopback for each device, each source and each monitor, which have a volume each as the program's have; "pw-link" is a
# loopback for the device alone and links for the rest, which have none. Each is built on a private server of its own, in
# turns within a round. Medians of the rounds are printed:
#
#   program, system  milliseconds of processor time per second of audio: of the program, or of the tools; and together
#                    with the server and its session manager. The applications are not counted.
#   ratio            the system's, to that of the pw-loopback build
#   to device        frames by which a chirp of each application and the microphone is later at the device than where it
#                    came from, in the last round, and
#   on to monitor    later again at the monitors than at the first device/the second/...; - where the server finished too
#                    few cycles to tell. Devices that carry the same sound may stand in each other's place here.
#   off              blocks that are not the sum of the chirps at these delays, over three seconds a round
#   xruns, errors    the server's counts, as pw-top has them: cycles that a driver could not finish while the time was
#                    taken, and cycles that a node missed while the chirps were listened to
#
# Processor time depends little on what else the machine does; errors do, since the applications are late then.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target costs_bench >&2
exec build/release/bench/costs_bench routes "$@"
