#!/usr/bin/env bash
# Installs what scripts/packages.txt lists and this system lacks; does nothing when nothing is missing.
#
# Ends with 0 when everything is there, and on a system without Debian's tools, where it cannot tell and the build will;
# with 1 when something is missing and could not be installed.
set -euo pipefail

list=$(dirname "$(realpath "$0")")/packages.txt

say() { printf 'install-packages: %s\n' "$*" >&2; }

wanted=()
while read -r name _; do
  case $name in '' | '#'*) ;; *) wanted+=("$name") ;; esac
done <"$list"

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  say "this is not a Debian system; what the build needs stands in $list, under Debian's names"
  exit 0
fi

# missing: the wanted packages that are not installed, one a line.
missing() {
  comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) \
    <(dpkg-query -W -f='${db:Status-Status} ${Package}\n' 2>/dev/null | sed -n 's/^installed //p' | sort -u)
}

mapfile -t lacking < <(missing)
[ ${#lacking[@]} -gt 0 ] || exit 0
say "installing ${lacking[*]}"

asRoot=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    say "this needs root or sudo. As root, run: apt-get install --no-install-recommends ${lacking[*]}"
    exit 1
  fi
  asRoot=(sudo)
fi

apt() { "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=120 "$@"; }
install() { apt install --no-install-recommends "${lacking[@]}"; }

# The package lists are fetched only where they do not know a package, or know a version that is gone.
if apt-cache show --no-all-versions "${lacking[@]}" >/dev/null 2>&1 && install; then exit 0; fi
if apt update && install; then exit 0; fi
say "could not install: $(missing | tr '\n' ' ')"
exit 1
