#!/usr/bin/env bash
# The window's own frame under a window manager: move it by its top and by what darkens it behind a sheet, resize it by
# its edges, maximise it with a double click, minimise and close it by its buttons.
#
# usage: frame.sh BUILD_FOLDER. Starts a display, a window manager and an audio server of its own and ends with 0 when
# every step held.
set -uo pipefail
cd "$(dirname "$(realpath "$0")")/../.." || exit 1
build=${1:?usage: frame.sh BUILD_FOLDER}
width=1800
height=1100

# shellcheck source=tests/walk/ground.sh
. tests/walk/ground.sh

start_display
openbox --sm-disable </dev/null >/dev/null 2>"$work/openbox.err" &
started+=("$!")
manages() { xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'; }
until_true "no window manager" manages
start_server "speakers:2:Speakers"
launch_program

# ---- Where the window is, and the hand.

# look: reads the window's place into X, Y, WIDTH and HEIGHT.
look() { eval "$(xdotool getwindowgeometry --shell "$window" | grep -E '^(X|Y|WIDTH|HEIGHT)=-?[0-9]+$')"; }
# drag FROM_X FROM_Y BY_X BY_Y: from a point of the window, in steps as a hand makes them.
drag() {
  local i
  look
  xdotool mousemove $((X + $1)) $((Y + $2)) sleep 0.05 mousedown 1
  for i in 1 2 3 4 5 6 7 8; do
    xdotool mousemove $((X + $1 + $3 * i / 8)) $((Y + $2 + $4 * i / 8)) sleep 0.03
  done
  xdotool mouseup 1
}
click() { look && xdotool mousemove $((X + $1)) $((Y + $2)) sleep 0.1 click 1; }
double_click() { look && xdotool mousemove $((X + $1)) $((Y + $2)) sleep 0.1 click --repeat 2 --delay 60 1; }
is_at() { look && [ "$X,$Y" = "$1" ]; }
is_sized() { look && [ "${WIDTH}x$HEIGHT" = "$1" ]; }
state_is() { xprop -id "$window" WM_STATE 2>/dev/null | grep -q "window state: $1"; }
# moved FROM: it is elsewhere, and stays there when the pointer goes on without the button.
moved() {
  local place
  look && place=$X,$Y && [ "$place" != "$1" ] && xdotool mousemove 900 700 sleep 0.1 mousemove 300 900 sleep 0.1 &&
    is_at "$place"
}

# ---- The walk.

step "no frame of the window manager's is around it"
xprop -id "$window" _NET_FRAME_EXTENTS | grep -q '= 0, 0, 0, 0$\|= 1, 1, 1, 1$' ||
  fail "it has a frame: $(xprop -id "$window" _NET_FRAME_EXTENTS)"

step "move it by what darkens it behind the first-run pages"
look
from=$X,$Y
drag 700 120 60 40
until_true "the sheet's ground does not move it" moved "$from"
xdotool windowfocus "$window" key Escape

step "move it by the top of the list and by the top beside it"
for top in 180,20 700,36; do
  look
  from=$X,$Y
  drag ${top%,*} ${top#*,} -50 -30
  until_true "its top at $top does not move it" moved "$from"
done

step "resize it by an edge, a corner and the edges opposite, no smaller than it may be"
look
drag $((WIDTH - 2)) 400 -80 0
until_true "the right edge does not resize it" is_sized 1360x900
drag $((WIDTH - 3)) $((HEIGHT - 3)) -40 -60
until_true "the corner does not resize it" is_sized 1320x840
look
place=$X,$((Y + 40))
drag 600 2 0 40
until_true "the upper edge does not resize it" is_sized 1320x800
is_at "$place" || fail "the upper edge moved the lower one"
drag 2 300 700 0
until_true "it became too small" is_sized 1220x800

step "a double click maximises it and brings it back"
double_click 700 36
until_true "it is not maximised" is_sized "${width}x$height"
# Elsewhere, so that the two do not count as four clicks.
double_click 600 36
until_true "it does not return" is_sized 1220x800

step "its buttons"
button_y=36
look
click $((WIDTH - 61)) $button_y
until_true "the button does not maximise it" is_sized "${width}x$height"
click $((width - 61)) $button_y
until_true "the button does not restore it" is_sized 1220x800
click $((WIDTH - 93)) $button_y
until_true "the button does not minimise it" state_is Iconic
xdotool windowmap "$window"
until_true "it stays minimised" state_is Normal
# Without a tray, closing quits.
click $((WIDTH - 29)) $button_y
has_ended() { ! kill -0 "$program" 2>/dev/null; }
until_true "the button does not close it" has_ended
wait "$program" || fail "the program ended with status $?"
[ ! -s "$work/program.err" ] || fail "the program complained"
