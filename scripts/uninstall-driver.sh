#!/usr/bin/env bash
# Removes what scripts/install-driver.sh has installed: for all users, with `sudo scripts/uninstall-driver.sh`, or for
# yourself, with `scripts/uninstall-driver.sh --user`, and then your list of virtual devices too.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."
# shellcheck source=scripts/driver-paths.sh
. scripts/driver-paths.sh

scope=system
case ${1-} in
  --user) scope=user ;;
  '') ;;
  *)
    echo "usage: scripts/uninstall-driver.sh [--user]" >&2
    exit 2
    ;;
esac
choose_scope "$scope"

# remove FILE...
remove() {
  local file
  for file in "$@"; do
    if [ -e "$file" ] || [ -L "$file" ]; then
      rm -f "$file"
      echo "uninstall-driver: removed $file"
    else
      echo "uninstall-driver: $file is not there"
    fi
  done
}

# remove_empty FOLDER...: one after the other, until something else is in one of them.
remove_empty() {
  local folder
  for folder in "$@"; do rmdir "$folder" 2>/dev/null || return 0; done
}

remove "$moduleFolder/$module" "$dropInFolder/$(basename "$dropIn")"
# Debian's packages do not bring these folders.
remove_empty "$dropInFolder" "$(dirname "$dropInFolder")"
if [ "$scope" = user ]; then
  remove_empty "$moduleFolder" "$(dirname "$moduleFolder")"
  state=${XDG_STATE_HOME:-$HOME/.local/state}/brindlemux
  shopt -s nullglob
  remove "$state"/devices.json*
  remove_empty "$state"
else
  echo "Each user's list of devices stays in ~/.local/state/brindlemux; as that user, run
  ./scripts/uninstall-driver.sh --user
to remove it."
fi
echo "$restartHint"
