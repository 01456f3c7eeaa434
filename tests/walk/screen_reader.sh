#!/usr/bin/env bash
# A walk through the real window without a pointer and without a look at it: with the keyboard, and by what a screen
# reader gets to know. From the first-run pages to a device with a source, a wire, settings and a name, and its end.
#
# usage: screen_reader.sh BUILD_FOLDER. Starts a display, a session bus and an audio server of its own and ends with 0
# when every step held.
set -uo pipefail
cd "$(dirname "$(realpath "$0")")/../.." || exit 1
build=${1:?usage: screen_reader.sh BUILD_FOLDER}
width=1220
height=740
# shellcheck source=tests/walk/ground.sh
. tests/walk/ground.sh

# ---- The ground, with a session's bus, on which the reader and the program meet.

start_display
start_server "speakers:2:Speakers"
dbus-daemon --session --nofork --print-address=3 3>"$work/bus" 2>"$work/bus.err" </dev/null &
started+=("$!")
until_true "no session bus" test -s "$work/bus"
DBUS_SESSION_BUS_ADDRESS=$(cat "$work/bus")
export DBUS_SESSION_BUS_ADDRESS
tree() { "$build/tests/accessible_tree" "$@" 2>>"$work/tree.err"; }
on_failure() { tree list >&2; }
until_true "nobody offers what is read" tree enable
start_program

# ---- The reader. A line of the tree has a role, a name, a description and states, between tabs.

# has ROLE NAME [STATE]: whether there is such a thing, in that state.
has() { tree list | awk -F '\t' -v role="$1" -v name="$2" -v state="${3-}" \
  '$1 == role && $2 == name && (state == "" || index(" " $4 " ", " " state " ")) { found = 1 } END { exit !found }'; }
is_described() { tree list | grep -qF "$(printf '%s\t%s\t%s\t' "$@")"; }
has_not() { ! has "$@"; }
focus_is() { has "$1" "$2" focused; }

# says ROLE NAME [STATE]: waits until there is such a thing.
says() { until_true "there is no $1 \"$2\"${3+ that is $3}" has "$@"; }
says_no_more() { until_true "the $1 \"$2\" stays" has_not "$@"; }
# hears ROLE NAME: waits until the keyboard is at this thing.
hears() { until_true "the keyboard is not at the $1 \"$2\"" focus_is "$@"; }
press() { xdotool key --delay 40 "$@"; }
# tab_to ROLE NAME: presses Tab until the keyboard is there.
tab_to() {
  local presses
  for ((presses = 0; presses < 60; presses++)); do
    if focus_is "$@"; then return; fi
    press Tab
  done
  fail "Tab does not lead to the $1 \"$2\""
}

# ---- The walk.

step "the first-run pages"
says dialog "Welcome to Brindlemux"
hears "push button" "Next"
press Return
says dialog "Create a virtual device"
press Return
says dialog "Add sources"
press Return
says dialog "Monitor live"
hears "push button" "Get Started"
press Return
says_no_more dialog "Monitor live"

step "create a device"
tab_to "push button" "New Virtual Device"
press Return
says "list item" "Brindlemux Device 1" selected
says heading "Brindlemux Device 1"

step "add a source"
tab_to "push button" "Add a source"
press Return
says "menu item" "System Audio"
press End Return
says "push button" "System Audio channel 1 (L)"

step "wire it"
tab_to "push button" "System Audio channel 1 (L)"
press Return
hears "push button" "Connect to Output channel 2 (R) input"
press Down
hears "push button" "Disconnect from Output channel 1 (L) input"
press Return
hears "push button" "System Audio channel 1 (L)"
until_true "the channel is still connected" is_described "push button" "Output channel 1 (L) input" "Not connected"

step "change the settings"
tab_to "push button" "Device settings"
press Return
says dialog "Brindlemux Device 1, Settings"
hears "radio button" "Balanced (256)"
says "radio button" "Balanced (256)" checked
press Down space
says "radio button" "Safe (512)" checked
# The server may grant another block size; then the sheet says which.
granted="In effect: 1024 frames. The audio server grants another block size than the one chosen."
force_block() { pw-metadata -n settings 0 clock.force-quantum "$1" </dev/null >/dev/null; }
force_block 1024 || fail "the server's settings cannot be written"
says label "$granted"
force_block 0 || fail "the server's settings cannot be written"
says_no_more label "$granted"
press Escape
says_no_more dialog "Brindlemux Device 1, Settings"
hears "push button" "Device settings"

step "rename"
tab_to "push button" "Rename device"
press Return
hears text "Device name"
xdotool type --delay 20 "Read"
press Return
says heading "Read"

# From here on a reader presses what it has found, where there is no need of a key.
step "switch it off"
says "check box" "Disable device" checked
until_true "the switch takes no press" tree press "check box" "Disable device"
says "check box" "Enable device"

step "delete"
until_true "the button takes no press" tree press "push button" "Delete selected device"
says dialog "Delete device?"
hears "push button" "Cancel"
press Tab
hears "push button" "Delete"
press Return
says_no_more "list item" "Read"

end_program
step "every step held"
