#!/usr/bin/env bash
# Installs the driver that scripts/build-driver.sh has built, for all users: sudo scripts/install-driver.sh. It puts the
# module beside PipeWire's own and a drop-in file beside its configuration; no file of anybody else is changed. Running
# it again replaces both.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."
# shellcheck source=scripts/driver-paths.sh
. scripts/driver-paths.sh

need_root
if [ ! -f "$builtModule" ]; then
  echo "install-driver: there is no $builtModule; run ./scripts/build-driver.sh first" >&2
  exit 1
fi
folder=$(module_folder)
# Written beside and moved over: a server that has the former module in use keeps it until it ends.
install -D -m 644 "$builtModule" "$folder/$module.new"
mv "$folder/$module.new" "$folder/$module"
install -D -m 644 "$dropIn" "$dropInFolder/$(basename "$dropIn")"
echo "install-driver: installed $folder/$module"
echo "install-driver: installed $dropInFolder/$(basename "$dropIn")"
echo "$restartHint"
