#!/usr/bin/env bash
# Runs a private PipeWire, WirePlumber and pipewire-pulse whose every file lies below one folder. It neither sees nor
# touches the user's session, hardware, settings or D-Bus. Prints "ready" once clients can use it, and then runs until
# SIGTERM or SIGINT; SIGUSR1 restarts WirePlumber alone. What a client needs in its environment stands in
# DIR/environment, as lines of `export NAME=VALUE`. The logs are in DIR/log, and the process IDs in DIR/NAME.pid.
#
# PRIVATE_AUDIO_SERVER_WRAPPER, when set, is a command that PipeWire is run under: "valgrind", "gdb -batch -ex run --args".
#
# Ends with 0 when asked to stop, 1 when a server could not start in 20 seconds or ended by itself, 2 on wrong arguments.
set -u

usage() {
  cat >&2 <<'END'
usage: private-audio-server.sh DIR [--driver-dir BUILD_LIB_DIR]
         [--sink NAME:CHANNELS:DESCRIPTION]... [--source NAME:CHANNELS:DESCRIPTION]...
         [--rate HZ] [--quantum N] [--min-quantum N] [--max-quantum N]

  --driver-dir  folder that holds libpipewire-module-brindlemux-driver.so; the server loads it
  --sink        a null sink that stands for a hardware output; the first one is the default
  --source      a source that stands for a hardware input; pw-link feeds its input ports
END
  exit 2
}

fail() {
  printf 'private-audio-server: %s\n' "$*" >&2
  exit 1
}

[ $# -ge 1 ] || usage
case $1 in -*) usage ;; esac
directory=$1
shift
driverDir=
rateHz=48000
quantum=1024
minQuantum=16
maxQuantum=2048
sinks=()
sources=()
while [ $# -gt 0 ]; do
  [ $# -ge 2 ] || usage
  case $1 in
    --driver-dir) driverDir=$2 ;;
    --sink) sinks+=("$2") ;;
    --source) sources+=("$2") ;;
    --rate) rateHz=$2 ;;
    --quantum) quantum=$2 ;;
    --min-quantum) minQuantum=$2 ;;
    --max-quantum) maxQuantum=$2 ;;
    *) usage ;;
  esac
  shift 2
done
for number in "$rateHz" "$quantum" "$minQuantum" "$maxQuantum"; do
  [[ $number =~ ^[1-9][0-9]*$ ]] || usage
done
for spec in "${sinks[@]}" "${sources[@]}"; do
  [[ $spec =~ ^[A-Za-z0-9._-]+:[1-9][0-9]*:.+$ ]] || usage
done

scriptDir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd) || exit 1
driverConfig=$scriptDir/../driver/50-brindlemux-driver.conf
mkdir -p "$directory" || fail "cannot create $directory"
directory=$(cd "$directory" && pwd) || exit 1
# A socket's path is at most 107 bytes; the longest below the folder is run/pulse/native or run/pipewire-0-manager.
[ $((${#directory} + 24)) -le 107 ] || fail "the path $directory is too long for the sockets below it"
mkdir -p "$directory"/{run,log,state,data,cache} "$directory"/config/pipewire/{pipewire,pipewire-pulse}.conf.d \
  "$directory"/config/wireplumber/{main,bluetooth}.lua.d || fail "cannot create folders below $directory"
chmod 700 "$directory/run"
# The sockets are left behind by a server that was killed, and would be taken for those of the next one.
rm -f "$directory"/log/*.log "$directory"/*.pid "$directory"/run/pipewire-* "$directory"/run/pulse/native

# ---- Configuration: the distribution's own files, and what differs from them as drop-ins.

# positions CHANNELS: the channel positions as hardware of that size has them.
positions() {
  local list=AUX0 channel
  case $1 in
    1) list=MONO ;;
    2) list=FL,FR ;;
    *) for ((channel = 1; channel < $1; channel++)); do list+=,AUX$channel; done ;;
  esac
  printf '%s' "$list"
}

# stand_in SPEC MEDIA_CLASS PRIORITY: one context object for a stand-in of hardware.
stand_in() {
  local name=${1%%:*} rest=${1#*:}
  local channels=${rest%%:*} description=${rest#*:}
  description=${description//\\/\\\\}
  description=${description//\"/\\\"}
  cat <<END
    { factory = adapter
        args = {
            factory.name     = support.null-audio-sink
            node.name        = "$name"
            node.description = "$description"
            media.class      = $2
            audio.channels   = $channels
            audio.position   = "$(positions "$channels")"
            priority.session = $3
            priority.driver  = $3
        }
    }
END
}

{
  cat <<END
context.properties = {
    default.clock.rate          = $rateHz
    default.clock.allowed-rates = [ $rateHz ]
    default.clock.quantum       = $quantum
    default.clock.min-quantum   = $minQuantum
    default.clock.max-quantum   = $maxQuantum
    # The stock configuration raises the smallest quantum on virtual machines.
    vm.overrides = { default.clock.min-quantum = $minQuantum }
}
context.objects = [
END
  priority=1100
  for spec in "${sinks[@]}"; do
    stand_in "$spec" Audio/Sink "$priority"
    priority=$((priority - 10))
  done
  priority=2100
  for spec in "${sources[@]}"; do
    stand_in "$spec" Audio/Source/Virtual "$priority"
    priority=$((priority - 10))
  done
  echo ']'
} >"$directory/config/pipewire/pipewire.conf.d/10-private.conf"
cat >"$directory/config/pipewire/pipewire-pulse.conf.d/10-private.conf" <<'END'
pulse.properties = {
    vm.overrides = { pulse.min.quantum = 256/48000 }
}
END
cat >"$directory/config/wireplumber/main.lua.d/51-private.lua" <<'END'
alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
default_access.properties["enable-flatpak-portal"] = false
END
echo 'bluez_monitor.enabled = false' >"$directory/config/wireplumber/bluetooth.lua.d/51-private.lua"

unset PIPEWIRE_REMOTE PIPEWIRE_CORE PIPEWIRE_CONFIG_DIR PIPEWIRE_CONFIG_NAME PIPEWIRE_CONFIG_PREFIX PIPEWIRE_QUANTUM \
  PIPEWIRE_LATENCY PIPEWIRE_RATE PIPEWIRE_NODE PIPEWIRE_PROPS PIPEWIRE_ALSA PIPEWIRE_MODULE_DIR WIREPLUMBER_CONFIG_DIR \
  WIREPLUMBER_DATA_DIR PULSE_RUNTIME_PATH PULSE_SINK PULSE_SOURCE PULSE_COOKIE DISPLAY WAYLAND_DISPLAY
export XDG_RUNTIME_DIR=$directory/run
export XDG_CONFIG_HOME=$directory/config
export XDG_STATE_HOME=$directory/state
export XDG_DATA_HOME=$directory/data
export XDG_CACHE_HOME=$directory/cache
export PIPEWIRE_RUNTIME_DIR=$directory/run
export PULSE_SERVER=unix:$directory/run/pulse/native
export DBUS_SESSION_BUS_ADDRESS=disabled:
export DBUS_SYSTEM_BUS_ADDRESS=disabled:
for name in XDG_RUNTIME_DIR XDG_CONFIG_HOME XDG_STATE_HOME XDG_DATA_HOME XDG_CACHE_HOME PIPEWIRE_RUNTIME_DIR \
  PULSE_SERVER DBUS_SESSION_BUS_ADDRESS DBUS_SYSTEM_BUS_ADDRESS; do
  printf 'export %s=%q\n' "$name" "${!name}"
done >"$directory/environment"

# The distribution's own files are copied and their folder named, so that nothing of the system's or the user's takes part.
cp /usr/share/pipewire/*.conf "$directory/config/pipewire/" || fail "cannot find PipeWire's own configuration"
serverEnvironment=("PIPEWIRE_CONFIG_DIR=$directory/config/pipewire")
if [ -n "$driverDir" ]; then
  driverDir=$(realpath -e -- "$driverDir") || fail "there is no such driver folder"
  [ -f "$driverDir/libpipewire-module-brindlemux-driver.so" ] || fail "there is no driver in $driverDir"
  cp "$driverConfig" "$directory/config/pipewire/pipewire.conf.d/" || exit 1
  stockModules=$(pkg-config --variable=moduledir libpipewire-0.3 2>/dev/null)
  if [ -z "$stockModules" ]; then
    for stockModules in /usr/lib/*/pipewire-0.3 /usr/lib64/pipewire-0.3 /usr/lib/pipewire-0.3; do
      [ -d "$stockModules" ] && break
    done
  fi
  [ -d "$stockModules" ] || fail "cannot find PipeWire's own modules"
  serverEnvironment+=("PIPEWIRE_MODULE_DIR=$driverDir:$stockModules")
fi

# ---- The three servers. Children are ended one by one, by process id, clients before their server.

declare -A childID=()
stopping=
trap 'stopping=yes' TERM INT HUP

# start NAME COMMAND...: runs a server in the background, with its own log.
start() {
  local name=$1
  shift
  "$@" </dev/null >>"$directory/log/$name.log" 2>&1 &
  childID[$name]=$!
  # Renamed into place: a reader never sees half of it.
  echo $! >"$directory/$name.pid.part" && mv "$directory/$name.pid.part" "$directory/$name.pid"
}

# stop NAME: ends a server, by force when it takes longer than 4 seconds.
stop() {
  local id=${childID[$1]:-} deadline=$((SECONDS + 4))
  [ -n "$id" ] || return 0
  kill -TERM "$id" 2>/dev/null
  while kill -0 "$id" 2>/dev/null; do
    [ $SECONDS -lt $deadline ] || kill -KILL "$id" 2>/dev/null
    sleep 0.02
  done
  wait "$id" 2>/dev/null
  unset "childID[$1]"
}

stop_all() {
  stop pipewire-pulse
  stop wireplumber
  stop pipewire
}

restart_session_manager() {
  stop wireplumber
  start wireplumber wireplumber
}

# No child outlives this script, whatever ends it.
trap stop_all EXIT

# finish STATUS: the way out once a child runs.
finish() {
  trap '' TERM INT HUP USR1
  stop_all
  exit "$1"
}

# report_end NAME STATUS: says on standard error that a server has ended by itself, with the end of its log.
report_end() {
  printf 'private-audio-server: %s ended with status %d; the end of its log:\n' "$1" "$2" >&2
  tail -n 20 "$directory/log/$1.log" >&2
}

# report_dead_child: reports a server that has ended by itself; false when there is none. Used while starting.
report_dead_child() {
  local name
  for name in "${!childID[@]}"; do
    kill -0 "${childID[$name]}" 2>/dev/null && continue
    wait "${childID[$name]}"
    report_end "$name" $?
    unset "childID[$name]"
    return 0
  done
  return 1
}

startDeadline=$((SECONDS + 20))

# await WHAT COMMAND...: polls the command until it succeeds, a server dies, a stop is asked for or time is over.
await() {
  local what=$1
  shift
  until "$@"; do
    [ -z "$stopping" ] || finish 0
    if report_dead_child; then finish 1; fi
    if [ $SECONDS -ge $startDeadline ]; then
      printf 'private-audio-server: after 20 seconds still waiting for %s; logs are in %s\n' "$what" "$directory/log" >&2
      finish 1
    fi
    sleep 0.05
  done
}

client() { timeout 2 "$@" </dev/null 2>/dev/null; }

socket_exists() { [ -S "$directory/run/pipewire-0" ]; }

# has_ports DIRECTION_OPTION SPEC: whether a stand-in shows all its ports.
has_ports() {
  local name=${2%%:*} rest=${2#*:}
  [ "$(client pw-link "$1" | grep -c "^$name:")" -eq "${rest%%:*}" ]
}

default_is() { client pw-metadata 0 "$1" | grep -qF "\"$2\""; }

pulse_answers() { client pactl info >/dev/null; }

driver_is_there() { client pw-metadata -n com.brindlemux.driver 0 bxcf | grep -q "key:'bxcf'"; }

# shellcheck disable=SC2086  # The wrapper is a command with arguments.
start pipewire env "${serverEnvironment[@]}" ${PRIVATE_AUDIO_SERVER_WRAPPER:-} pipewire
await "the server's socket" socket_exists
start wireplumber wireplumber
start pipewire-pulse env "${serverEnvironment[@]}" pipewire-pulse
[ -z "$driverDir" ] || await "the driver" driver_is_there
for spec in "${sinks[@]}"; do await "the ports of ${spec%%:*}" has_ports -i "$spec"; done
for spec in "${sources[@]}"; do await "the ports of ${spec%%:*}" has_ports -o "$spec"; done
[ ${#sinks[@]} -eq 0 ] || await "the default sink" default_is default.audio.sink "${sinks[0]%%:*}"
[ ${#sources[@]} -eq 0 ] || await "the default source" default_is default.audio.source "${sources[0]%%:*}"
await "the pulse server" pulse_answers

# What a signal asks for is done inside its trap, so that none is missed between two commands. The wait ends, without an
# ended child, when a trap has run.
trap 'finish 0' TERM INT HUP
trap restart_session_manager USR1
echo ready
[ -z "$stopping" ] || finish 0
endedID=
while [ -z "${endedID:-}" ]; do
  wait -n -p endedID "${childID[@]}"
  status=$?
done
for name in "${!childID[@]}"; do
  [ "${childID[$name]}" = "$endedID" ] || continue
  report_end "$name" $status
  unset "childID[$name]"
done
finish 1
