#!/usr/bin/env bash
# imported_modules.sh SCANNER QML_FOLDER SOURCES PACKAGES: fails when a QML file below SOURCES imports a module, directly
# or through another one, that is in none of the packages, whose names are separated by commas.
set -euo pipefail
scanner=$1 qmlFolder=$2 sources=$3 packages=,$4,

mapfile -t folders < <("$scanner" -rootPath "$sources" -importPath "$qmlFolder" | sed -n 's/^ *"path": "\(.*\)",*$/\1/p')
[ ${#folders[@]} -ge 4 ] || {
  echo "the scanner found ${#folders[@]} modules" >&2
  exit 1
}
status=0
for folder in "${folders[@]}"; do
  package=$(dpkg-query --search "$folder/qmldir" | cut -d: -f1)
  case $packages in
    *",$package,"*) ;;
    *)
      echo "$folder is in $package, which the package does not depend on" >&2
      status=1
      ;;
  esac
done
exit $status
