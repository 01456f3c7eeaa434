#!/usr/bin/env bash
# Removes what scripts/install-driver.sh has installed: sudo scripts/uninstall-driver.sh.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."
# shellcheck source=scripts/driver-paths.sh
. scripts/driver-paths.sh

need_root
folder=$(module_folder)
for file in "$folder/$module" "$dropInFolder/$(basename "$dropIn")"; do
  if [ -e "$file" ]; then
    rm -f "$file"
    echo "uninstall-driver: removed $file"
  else
    echo "uninstall-driver: $file is not there"
  fi
done
# Debian's packages do not bring these folders; they go when nothing else is in them.
rmdir "$dropInFolder" 2>/dev/null && rmdir "$(dirname "$dropInFolder")" 2>/dev/null || true
echo "$restartHint"
