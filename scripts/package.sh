#!/usr/bin/env bash
# Builds the Debian package: scripts/package.sh. Its last line is the path of the package.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/.."

scripts/install-packages.sh
folder=build/package
# A folder of its own: where things are installed is decided when the build is configured.
cmake --preset release -B "$folder" -DCMAKE_INSTALL_PREFIX=/usr
cmake --build "$folder" --target brindlemux brindlemux_driver brindlemux_manual
rm -f "$folder"/*.deb
(cd "$folder" && cpack -G DEB -D CPACK_CMAKE_GENERATOR=Ninja)
package=$(realpath "$folder"/brindlemux_*.deb)
dpkg-deb --info "$package"
echo "$package"
