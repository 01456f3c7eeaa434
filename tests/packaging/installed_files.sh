#!/usr/bin/env bash
# installed_files.sh BUILD_FOLDER PREFIX: installs what was built into a folder of its own and fails when something is not
# where the desktop and the audio server look for it, or names what is not installed beside it. PREFIX is the one that the
# build was configured with.
set -euo pipefail
build=$1
work=$(mktemp -d "${TMPDIR:-/tmp}/brindlemux-install.XXXXXX")
trap 'rm -rf "$work"' EXIT

DESTDIR=$work cmake --install "$build" >"$work/log"
root=$work$2
id=com.brindlemux.Brindlemux
status=0
# holds WHAT COMMAND...
holds() {
  local what=$1
  shift
  "$@" >/dev/null || {
    echo "not so: $what" >&2
    status=1
  }
}
# value_of KEY: what the desktop entry says of it.
value_of() { sed -n "s/^$1=//p" "$root/share/applications/$id.desktop"; }
# tag NAME: what stands in that element of the metadata.
tag() { sed -n "s|^ *<$1[^>]*>\(.*\)</$1>.*|\1|p" "$root/share/metainfo/$id.metainfo.xml"; }
# shellcheck disable=SC2317  # reached through holds
one_file() { [ "$(find "$work" -path "$1" -type f | wc -l)" -eq 1 ]; }

holds "the desktop entry starts the program" test -x "$root/bin/$(value_of Exec)"
holds "its window is the entry's" test "$(value_of StartupWMClass)" = $id
holds "its icon is there" test -s "$root/share/icons/hicolor/scalable/apps/$(value_of Icon).svg"
holds "so is the symbolic one" test -s "$root/share/icons/hicolor/symbolic/apps/$(value_of Icon)-symbolic.svg"
holds "the metadata have the identifier" test "$(tag id)" = $id
holds "the metadata lead to the entry" test -s "$root/share/applications/$(tag launchable)"
holds "the metadata name the program" test -x "$root/bin/$(tag binary)"
holds "the manual page is packed" gzip --test "$root/share/man/man1/brindlemux.1.gz"
holds "the manual page names the version" grep -qE '^\.TH .*"Brindlemux [0-9]' <(gzip -dc "$root/share/man/man1/brindlemux.1.gz")
module=libpipewire-module-brindlemux-driver
holds "the driver is among the server's modules" one_file "*/lib/*pipewire-0.3/$module.so"
holds "the server has a drop-in" one_file "*/etc/pipewire/pipewire.conf.d/50-brindlemux-driver.conf"
holds "the drop-in loads the driver" grep -rqE "name = $module( |$)" "$work" --include=50-brindlemux-driver.conf
exit $status
