#!/usr/bin/env bash
# Installs the driver that scripts/build-driver.sh has built: for all users, with `sudo scripts/install-driver.sh`, or
# for yourself alone and without root, with `scripts/install-driver.sh --user`. It adds two files, the module and a
# drop-in of the audio server's configuration; no file of anybody else is changed. Running it again replaces both.
# --module FILE installs another build of the module.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."
# shellcheck source=scripts/driver-paths.sh
. scripts/driver-paths.sh

scope=system
while [ $# -gt 0 ]; do
  case $1 in
    --user) scope=user ;;
    --module)
      builtModule=${2:?a file}
      shift
      ;;
    *)
      echo "usage: scripts/install-driver.sh [--user] [--module FILE]" >&2
      exit 2
      ;;
  esac
  shift
done
choose_scope "$scope"
if [ ! -f "$builtModule" ]; then
  echo "install-driver: there is no $builtModule; run ./scripts/build-driver.sh first" >&2
  exit 1
fi

# drop_in: the drop-in as this installation needs it. The server looks for modules below its own folder alone; from
# there, enough steps up lead to the root of the file system, and down again to the user's.
drop_in() {
  local name=${module%.so}
  [ "$scope" = user ] || { cat "$dropIn" && return; }
  printf -v name '../%.0s' {1..24}
  name=$name${moduleFolder#/}/${module%.so}
  name=${name//\\/\\\\}
  name=${name//\"/\\\"}
  while IFS= read -r line; do
    printf '%s\n' "${line/name = ${module%.so}/name = \"$name\"}"
  done <"$dropIn"
}

# put FILE: its new content comes from standard input. Written beside and moved over: a server that has the former module
# in use keeps it until it ends, and none reads half a file.
put() {
  mkdir -p "$(dirname "$1")"
  cat >"$1.new"
  chmod 644 "$1.new"
  mv "$1.new" "$1"
  echo "install-driver: installed $1"
}

put "$moduleFolder/$module" <"$builtModule"
drop_in | put "$dropInFolder/$(basename "$dropIn")"
echo "$restartHint"
