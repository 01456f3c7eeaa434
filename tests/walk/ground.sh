# shellcheck shell=bash disable=SC2154
# What a walk through the real window stands on, for scripts that source it: a display, an audio server and the program,
# all of the walk's own. Whatever was started ends with the script. Needs $build, the build folder, $width and $height.

work=$(mktemp -d "${TMPDIR:-/tmp}/brindlemux-walk.XXXXXX") || exit 1
started=()
# shellcheck disable=SC2317  # reached through the trap
finish() {
  local status=$? index
  trap - EXIT
  for ((index = ${#started[@]} - 1; index >= 0; index--)); do
    kill -TERM "${started[index]}" 2>/dev/null
    wait "${started[index]}" 2>/dev/null
  done
  rm -rf "$work"
  exit "$status"
}
trap finish EXIT

walk=$(basename "$0" .sh)
# What a walk shows of itself beside the logs when it fails; a script may put its own in the place of this one.
on_failure() { :; }
fail() {
  printf '%s: %s\n' "$walk" "$*" >&2
  on_failure
  for log in "$work"/*.err; do
    [ ! -s "$log" ] || { printf -- '--- %s\n' "${log##*/}" && tail -n 20 "$log"; } >&2
  done
  exit 1
}
step() { printf '%s: %s\n' "$walk" "$*"; }

# until_true WHAT COMMAND...: polls the command until it succeeds; fails after 20 seconds.
until_true() {
  local what=$1 deadline=$((SECONDS + 20))
  shift
  until "$@"; do
    [ $SECONDS -lt $deadline ] || fail "$what"
    sleep 0.1
  done
}

start_display() {
  # Without a reset, for which it would turn away who connects when the last one has just left.
  Xvfb -displayfd 3 -screen 0 "${width}x${height}x24" -nolisten tcp -noreset 3>"$work/display" >/dev/null 2>"$work/display.err" &
  started+=("$!")
  until_true "no display" test -s "$work/display"
  DISPLAY=:$(cat "$work/display")
  export DISPLAY
}

# start_server SINK...: a private server with these outputs, as private-audio-server.sh takes them, and the driver.
start_server() {
  local sinks=() sink
  for sink in "$@"; do sinks+=(--sink "$sink"); done
  setsid scripts/private-audio-server.sh "$work/server" --driver-dir "$build/lib" "${sinks[@]}" \
    </dev/null >"$work/server.out" 2>"$work/server.err" &
  started+=("$!")
  until_true "no audio server" grep -qx ready "$work/server.out"
  # shellcheck source=/dev/null
  . "$work/server/environment"
}

find_window() { window=$(xdotool search --onlyvisible --name '^Brindlemux$' 2>/dev/null | head -n 1) && [ -n "$window" ]; }

# Leaves the process in $program and its window in $window.
launch_program() {
  QT_QUICK_BACKEND=software QT_QPA_PLATFORM=xcb "$build/bin/brindlemux" </dev/null >/dev/null 2>"$work/program.err" &
  program=$!
  started+=("$program")
  until_true "no window" find_window
}

# The same, with a window that fills the display and has the keyboard.
start_program() {
  launch_program
  xdotool windowmove "$window" 0 0 windowsize "$window" "$width" "$height" windowfocus "$window"
}

# The program ends in order, and has said nothing.
end_program() {
  kill -TERM "$program"
  wait "$program" || fail "the program ended with status $?"
  [ ! -s "$work/program.err" ] || fail "the program complained"
}
