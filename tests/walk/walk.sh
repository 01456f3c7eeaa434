#!/usr/bin/env bash
# A walk through the real window with a pointer and a keyboard that are not the program's own: leave the first-run pages,
# create a device, add an application that is really playing, see its meter move, wire it, hear it at the monitor,
# rename, delete.
#
# usage: walk.sh BUILD_FOLDER. Starts a display and an audio server of its own and ends with 0 when every step held.
set -uo pipefail
cd "$(dirname "$(realpath "$0")")/../.." || exit 1
build=${1:?usage: walk.sh BUILD_FOLDER}
width=1220
height=740

# shellcheck source=tests/walk/ground.sh
. tests/walk/ground.sh

# ---- The ground: a display, a server with two outputs, a player, the program.

start_display
start_server "speakers:2:Speakers" "headphones:2:Headphones"
graphs=$XDG_DATA_HOME/Brindlemux/graphs.json

# A tone on the left alone, at -6 dB.
sox -n -r 48000 -b 16 -c 2 "$work/tone.wav" synth 300 sine 440 sine 440 remix 1v0.5 2v0 || fail "cannot make the tone"
# Whoever plays through the pulse interface keeps playing when the block size changes; pw-play at times does not.
paplay "$work/tone.wav" </dev/null >/dev/null 2>"$work/player.err" &
started+=("$!")

start_program

# ---- The hand.

click() { xdotool mousemove "$1" "$2" sleep 0.1 click 1; }
drag() {
  xdotool mousemove "$1" "$2" mousedown 1
  xdotool mousemove_relative 8 -2 sleep 0.05 mousemove "$3" "$4" sleep 0.05 mouseup 1
}
pixels() { "$build/tests/screen_pixel" "$@"; }
# shows COLOUR X Y: whether that point of the screen has that colour.
shows() { [ "$(pixels "$2" "$3")" = "$1" ]; }
differs() { ! shows "$@"; }

# The driver's list of devices, and how often a word stands in the graphs file.
devices() { pw-metadata -n com.brindlemux.driver 0 bxcf </dev/null 2>/dev/null; }
device_named() { devices | grep -q "\"name\": *\"$1\""; }
no_device() { ! devices | grep -q '"uid"'; }
count_is() { [ "$(grep -o "$1" "$graphs" 2>/dev/null | wc -l)" -eq "$2" ]; }

# level CHANNEL: the peak, in whole dB, of half a second of what the headphones play.
level() {
  timeout 10 parec -d headphones.monitor --raw --format=float32le --rate=48000 --channels=2 --latency-msec=50 \
    </dev/null 2>/dev/null | head -c 384000 | tail -c 192000 >"$work/heard.raw"
  sox -t raw -r 48000 -e floating-point -b 32 -c 2 "$work/heard.raw" -n remix "$1" stats 2>&1 |
    awk '/^Pk lev dB/ { print ($4 == "-inf") ? -200 : int($4) }'
}
loud() { local heard; heard=$(level "$1") && [ -n "$heard" ] && [ "$heard" -ge -9 ] && [ "$heard" -le -4 ]; }
silent() { local heard; heard=$(level "$1") && [ -n "$heard" ] && [ "$heard" -le -80 ]; }

# ---- The walk.

step "leave the first-run pages"
# The button to the next page has the accent.
until_true "no first-run pages" shows '#78bbf5' $((width / 2 + 175)) $((height / 2 + 136))
xdotool key Escape

step "create a device"
until_true "the window draws nothing" shows '#22252b' 120 400
click 107 $((height - 28))
until_true "no device was created" device_named "Brindlemux Device 1"

step "add the player"
# The accent in the middle of the menu's button says that the device's view is there.
until_true "no button for sources" shows '#78bbf5' 519 115
click 523 117
until_true "no menu of sources" shows '#78bbf5' 470 180
xdotool key Return
until_true "no source was added" count_is '"bundleID"' 1
until_true "no wires were made" count_is '"sourceChannel"' 2

step "see its meter move"
# The beginning of the left channel's meter is lit; that of the silent right one is like its end.
until_true "the meter does not move" differs "$(pixels 480 362)" 345 338
until_true "the silent channel's meter moves" shows "$(pixels 480 362)" 345 362

step "add both outputs"
# In whatever order the server lists them.
for row in 1 2; do
  click 1174 117
  until_true "no menu of monitors" shows '#78bbf5' 1100 155
  [ $row -eq 1 ] || xdotool key Down
  xdotool key Return
  until_true "no monitor was added" count_is '"monitorChannel"' $((2 * row))
  until_true "the menu stays" differs '#78bbf5' 1100 155
done
count_is '"name":"Headphones"' 1 || count_is '"name": "Headphones"' 1 || fail "the headphones were not added"
until_true "the headphones do not hear the player" loud 1
until_true "the right side should be silent" silent 2

step "wire the left channel to the right output"
drag 516 338 638 226
until_true "no wire was made" count_is '"sourceChannel"' 3
until_true "the right side hears nothing" loud 2

step "rename"
xdotool mousemove 330 28 click --repeat 2 --delay 60 1
until_true "no field for the name" shows '#78bbf5' 275 28
xdotool type --delay 20 "Walk"
xdotool key Return
until_true "the device was not renamed" device_named "Walk"

step "delete"
click 222 $((height - 28))
until_true "no question" shows '#ff6b61' 711 $((height / 2 + 39))
click 740 $((height / 2 + 39))
until_true "the device was not deleted" no_device

end_program
step "every step held"
