#!/usr/bin/env bash
# Builds Brindlemux and runs it: scripts/run.sh [SECONDS], until stopped, or for that many seconds.
#
# Where the session's audio server has the driver, the program simply joins it. Elsewhere (no server, no hardware, no
# driver) it gets a private server and a demonstration: a player's tones, 440 Hz on the left at -12 dBFS and 660 Hz on
# the right at -18 dBFS, go into the first output; the program taps the player, mixes it into a virtual device, and
# plays that on the second output, where this script measures and prints the level of each channel once a second. The
# private server shares nothing with the session's own. Where there is no display, an unseen one stands in, and what it
# shows is saved as a picture once the demonstration plays.
#
# Ends with 0 when the program ended in order, otherwise with another status. Everything that it started is then gone.
set -uo pipefail
cd "$(dirname "$(realpath "$0")")/.." || exit 1

preset=release
far=brindlemux.demo.headphones
seconds=${1-}
if [ $# -gt 1 ] || ! [[ $seconds =~ ^([1-9][0-9]{0,8})?$ ]]; then
  echo "usage: scripts/run.sh [SECONDS]" >&2
  exit 2
fi

say() { printf 'run: %s\n' "$*"; }

# ---- What was started, in order, and how it ends: the last first, each by its process ID. What others depend on is
# started with setsid, so that Ctrl-C at a terminal reaches the program and this script, and not their ground.

work=
started=()

# is_running ID: by the shell's own book of its children, since the system may give the ID of an ended one to another.
is_running() { [[ " $(jobs -rp | tr '\n' ' ')" == *" $1 "* ]]; }

# end_process ID: asks the process to end, insists after ten seconds, and returns the status that it ended with.
end_process() {
  local deadline=$((SECONDS + 10))
  if is_running "$1"; then kill -TERM "$1"; fi
  while is_running "$1"; do
    if [ $SECONDS -ge $deadline ]; then kill -KILL "$1"; fi
    sleep 0.05
  done
  wait "$1"
} 2>/dev/null

# shellcheck disable=SC2317  # reached through the trap
finish() {
  local status=$? index
  trap '' INT TERM HUP
  trap - EXIT
  for ((index = ${#started[@]} - 1; index >= 0; index--)); do end_process "${started[index]}"; done
  [ -z "$work" ] || rm -rf "$work"
  exit "$status"
}
trap finish EXIT
stopping=
trap 'stopping=yes' INT TERM HUP

fail() {
  printf 'run: %s\n' "$*" >&2
  exit 1
}

# await WHAT PROCESS COMMAND...: polls the command until it succeeds; fails when the process ends or 30 seconds are over.
await() {
  local what=$1 process=$2 deadline=$((SECONDS + 30))
  shift 2
  until "$@"; do
    [ -z "$stopping" ] || exit 0
    is_running "$process" || fail "$what did not start"
    [ "$SECONDS" -lt $deadline ] || fail "$what is not there after 30 seconds"
    sleep 0.05
  done
}

# ---- Build.

scripts/install-packages.sh || exit 1
cmake --preset $preset >/dev/null || fail "cannot configure the build"
# In the background, so that a stop does not wait for the build's end.
ninja -C build/$preset brindlemux brindlemux_driver brindlemux-screenshot &
started+=("$!")
wait $! || [ -n "$stopping" ] || fail "cannot build"
[ -z "$stopping" ] || exit 0

work=$(mktemp -d "${TMPDIR:-/tmp}/brindlemux.XXXXXX") || exit 1

# ---- A display.

# Where the picture of a display that nobody sees goes; empty where there is a display.
picture=

start_display() {
  setsid Xvfb -displayfd 3 -screen 0 1440x900x24 -nolisten tcp -noreset 3>"$work/display" </dev/null >"$work/display.log" 2>&1 &
  started+=("$!")
  await "the display" $! test -s "$work/display"
  DISPLAY=:$(cat "$work/display")
  # It has no graphics processor.
  export DISPLAY QT_QUICK_BACKEND=software
  picture=$PWD/build/$preset/brindlemux.png
  rm -f "$picture"
  say "there is no display; an unseen one is $DISPLAY"
}

if [ -n "${WAYLAND_DISPLAY-}" ]; then
  # A private server brings a runtime folder of its own, where a relative name would be looked for.
  case $WAYLAND_DISPLAY in /*) ;; *) export WAYLAND_DISPLAY=${XDG_RUNTIME_DIR-}/$WAYLAND_DISPLAY ;; esac
elif [ -z "${DISPLAY-}" ]; then
  start_display
fi

# ---- The demonstration, on a server of its own.

start_server() {
  setsid scripts/private-audio-server.sh "$work/server" --driver-dir build/$preset/lib \
    --sink "brindlemux.demo.speakers:2:Demo Speakers" --sink "$far:2:Demo Headphones" \
    </dev/null >"$work/server.out" 2>"$work/server.err" &
  server=$!
  started+=("$server")
  await "the private audio server" $server grep -qx ready "$work/server.out"
  # shellcheck source=/dev/null
  . "$work/server/environment"
}

new_uuid() { tr '[:lower:]' '[:upper:]' </proc/sys/kernel/random/uuid; }

make_device() {
  device=BrindlemuxAudio_UID_$(new_uuid)
  pw-metadata -n com.brindlemux.driver 0 bxcf \
    "{\"devices\":[{\"uid\":\"$device\",\"name\":\"Demo Device\",\"channels\":2}]}" Spa:String:JSON \
    </dev/null >/dev/null || fail "the driver took no device"
}

# The first-run pages would stand before what is demonstrated.
write_defaults() {
  mkdir -p "$XDG_CONFIG_HOME/Brindlemux" || exit 1
  printf '[General]\nonboarding.seen=true\n' >"$XDG_CONFIG_HOME/Brindlemux/Brindlemux.conf"
}

# The player to the device and the device to the second output, channel by channel.
write_graph() {
  local source monitor
  source=$(new_uuid)
  monitor=$(new_uuid)
  mkdir -p "$XDG_DATA_HOME/Brindlemux" || exit 1
  cat >"$XDG_DATA_HOME/Brindlemux/graphs.json" <<END
{"$device": {
  "deviceUID": "$device",
  "sources": [{"id": "$source", "kind": {"app": {"bundleID": "pw-cat", "name": "Demo Player"}}}],
  "wires": [{"sourceID": "$source", "sourceChannel": 0, "outputChannel": 0},
            {"sourceID": "$source", "sourceChannel": 1, "outputChannel": 1}],
  "monitors": [{"id": "$monitor", "deviceUID": "$far", "name": "Demo Headphones"}],
  "monitorWires": [{"outputChannel": 0, "monitorID": "$monitor", "monitorChannel": 0},
                   {"outputChannel": 1, "monitorID": "$monitor", "monitorChannel": 1}]
}}
END
}

# Plays the tones over and over; TERM ends it with its player. 0.251189 is -12 dB and 0.125893 is -18 dB.
play() {
  local player
  trap 'kill "$player" 2>/dev/null; wait "$player"; exit 0' TERM
  while :; do
    pw-play "$work/tones.wav" </dev/null >/dev/null 2>&1 &
    player=$!
    wait $player || sleep 1
  done
}

# Prints the peak level of each channel for every second of what comes in; ends when nothing more does.
levels() {
  local second=0
  trap '' TERM
  # 48000 frames of 2 channels of 4 bytes.
  while head -c 384000 >"$work/second.raw" && [ "$(stat -c %s "$work/second.raw")" -eq 384000 ]; do
    second=$((second + 1))
    sox -t raw -r 48000 -e floating-point -b 32 -c 2 "$work/second.raw" -n stats 2>&1 |
      awk -v second=$second \
        '/^Pk lev dB/ { printf "%4d s   Demo Headphones   left %6s dBFS   right %6s dBFS\n", second, $5, $6 }'
  done
  cat "$work/recorder.err" >&2
}

start_demonstration() {
  start_server
  sox -n -r 48000 -b 16 -c 2 "$work/tones.wav" synth 120 sine 440 sine 660 remix 1v0.251189 2v0.125893 ||
    fail "cannot make the tones"
  make_device
  write_graph
  write_defaults
  play &
  started+=("$!")
}

start_measurement() {
  mkfifo "$work/recording" || exit 1
  levels <"$work/recording" &
  started+=("$!")
  setsid parec -d "$far.monitor" --raw --format=float32le --rate=48000 --channels=2 --latency-msec=50 \
    </dev/null >"$work/recording" 2>"$work/recorder.err" &
  started+=("$!")
}

session_has_driver() {
  timeout 3 pw-metadata -n com.brindlemux.driver 0 bxcf </dev/null 2>/dev/null | grep -q "key:'bxcf'"
}

server=
if session_has_driver; then
  say "the session's audio server has the driver; joining it"
else
  say "the session has no audio server with the driver; starting a private one"
  start_demonstration
fi

# ---- The program.

build/$preset/bin/brindlemux </dev/null &
program=$!
started+=("$program")
say "the program runs${seconds:+ for $seconds seconds}; Ctrl-C or closing its window ends it"
[ -z "$server" ] || start_measurement
ending=$((SECONDS + ${seconds:-0}))

take_picture() {
  if build/$preset/bin/brindlemux-screenshot "$picture"; then say "the window is saved as $picture"; fi
  picture=
}

# By then the program has found the player and its meters move.
pictureTime=$((SECONDS + 5))

while [ -z "$stopping" ] && is_running $program; do
  [ -z "$seconds" ] || [ $SECONDS -lt $ending ] || break
  if [ -n "$server" ] && ! is_running "$server"; then
    cat "$work/server.err" >&2
    fail "the private audio server ended"
  fi
  if [ -n "$picture" ] && [ $SECONDS -ge $pictureTime ]; then take_picture; fi
  sleep 0.2
done
# A short run is seen at its end.
if [ -n "$picture" ] && is_running $program; then take_picture; fi
# A program that does not end in order when asked is ended by force, and its status shows it.
end_process $program
status=$?
[ $status -eq 0 ] || printf 'run: the program ended with status %d\n' $status >&2
exit $status
