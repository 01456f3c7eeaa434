#!/usr/bin/env bash
# Proves that the Debian package is complete: sudo scripts/try-package.sh [PACKAGE]. Makes a root folder with nothing but
# the smallest Debian 12 in it, installs the package there with what it depends on and nothing else, and starts the
# program in it, offscreen, on a private audio server that loads the installed driver. Needs the network and root.
#
# Ends with 0 when the program runs, sees the driver, and ends in order. The root folder is removed again.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

[ "$(id -u)" -eq 0 ] || {
  echo "try-package: this needs root: sudo ./scripts/try-package.sh" >&2
  exit 1
}
package=${1:-$(echo build/package/brindlemux_*.deb)}
[ -f "$package" ] || {
  echo "try-package: there is no $package; run ./scripts/package.sh first" >&2
  exit 1
}

root=$(mktemp -d "${TMPDIR:-/tmp}/brindlemux-root.XXXXXX")
# shellcheck disable=SC2317  # reached through the trap
finish() {
  for folder in proc dev; do mountpoint -q "$root/$folder" && umount "$root/$folder"; done
  rm -rf --one-file-system "$root"
}
trap finish EXIT

debootstrap --variant=minbase bookworm "$root"
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
install -D -m 644 "$package" "$root/tmp/brindlemux.deb"
install -D -m 755 scripts/private-audio-server.sh "$root/srv/scripts/private-audio-server.sh"
install -D -m 644 driver/50-brindlemux-driver.conf "$root/srv/driver/50-brindlemux-driver.conf"
# What the private server of the trial needs beside the package: a command-line client of PulseAudio's protocol, and
# that protocol's server.
chroot "$root" env DEBIAN_FRONTEND=noninteractive sh -euc '
  apt-get -q update
  apt-get -q -y --no-install-recommends install /tmp/brindlemux.deb
  dpkg -s brindlemux | grep -E "^(Status|Version|Depends)"
  dpkg -L brindlemux
  ldd /usr/bin/brindlemux | grep "not found" && exit 1
  apt-get -q -y --no-install-recommends install pipewire-pulse pulseaudio-utils pipewire-bin'

cat >"$root/srv/try.sh" <<'END'
set -eu
folder=$(dirname "$(find /usr/lib -name libpipewire-module-brindlemux-driver.so)")
/srv/scripts/private-audio-server.sh /tmp/server --driver-dir "$folder" --sink "speakers:2:Speakers" >/tmp/server.out &
server=$!
trap 'kill -TERM $server; wait $server || true' EXIT
fail() {
  cat /tmp/program.err
  echo "try-package: $*" >&2
  exit 1
}
deadline=$(($(date +%s) + 30))
until grep -qx ready /tmp/server.out; do
  [ "$(date +%s)" -lt $deadline ] || exit 1
  sleep 0.1
done
. /tmp/server/environment
pw-metadata -n com.brindlemux.driver 0 bxcf \
  '{"devices":[{"uid":"BrindlemuxAudio_UID_TRIAL","name":"Trial","channels":2}]}' Spa:String:JSON </dev/null
QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software brindlemux </dev/null 2>/tmp/program.err &
program=$!
# The program captures the device: its node stands there once the window does.
until pw-cli ls Node </dev/null | grep -q 'node.name = "brindlemux\.input'; do
  kill -0 $program || fail "the program ended by itself"
  [ "$(date +%s)" -lt $deadline ] || fail "the program does not capture its device"
  sleep 0.2
done
kill -TERM $program
wait $program || fail "the program did not end in order"
# A package that lacks a plugin or a module says so there.
[ ! -s /tmp/program.err ] || fail "the program complained"
echo "try-package: the installed program ran on the installed driver and ended in order"
END
chroot "$root" bash /srv/try.sh
