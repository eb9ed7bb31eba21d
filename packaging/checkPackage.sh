#!/bin/bash
# Makes the Debian package of a build and tries it: lintian, what it tells the desktop, installation,
# conversions and the window with what was installed, removal.
#   packaging/checkPackage.sh [--bare] [BUILD]     BUILD is build/release when it is not named
# The package is installed in this system; with --bare in a new Debian of the same release that
# consists of the essential packages only, so that a missing dependency shows. That one is made below
# $TMPDIR from this system's own package source (about 1.5 GB) and thrown away in the end.
# Needs root, the packages lintian, dpkg-dev, desktop-file-utils, appstream, man-db and xvfb, and
# mmdebstrap for --bare.
set -euo pipefail
place=here
if [ "${1-}" = --bare ]; then
  place=bare
  shift
fi
root=$(dirname "$(dirname "$(readlink -f "$0")")")
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
# shellcheck source=scripts/bareSystem.sh
. "$root/scripts/bareSystem.sh"
build=$(readlink -f "${1:-$root/build/release}")
folder=$(mktemp -d)
server=

leave() {
  [ -z "$server" ] || kill "$server" 2>/dev/null || true
  rm -rf "$folder"
}
trap leave EXIT

# A new Debian with nothing in it, in which the package is tried.
tryInBareSystem() {
  mkdir "$folder/in/packaging" "$folder/in/scripts"
  cp "$package" "$folder/in"
  cp "$root/packaging/tryPackage.sh" "$folder/in/packaging"
  cp "$root/scripts/tell.sh" "$folder/in/scripts"
  makeBareSystem minbase - --format=null \
    --customize-hook="copy-in '$folder/in' /" \
    --customize-hook="chroot \"\$1\" /in/packaging/tryPackage.sh '/in/${package##*/}' bare"
}

[ "$(id -u)" -eq 0 ] || fail "only root can install packages"
[ "$place" = bare ] || ! dpkg-query -W tessarin >/dev/null 2>&1 ||
  fail "the package is installed already"

(cd "$folder" && cpack --config "$build/CPackConfig.cmake" -G DEB >log 2>&1) || fail "$(cat "$folder/log")"
package=$(echo "$folder"/*.deb)
lintian --fail-on error "$package"

mkdir "$folder/in"
dpkg-deb --extract "$package" "$folder/unpacked"
share="$folder/unpacked/usr/share"
if [ -x "$folder/unpacked/usr/bin/tessarin-gui" ]; then
  desktop-file-validate "$share/applications/org.tessarin.Tessarin.desktop"
  appstreamcli validate --no-net "$share/metainfo/org.tessarin.Tessarin.metainfo.xml"
fi
for page in "$share"/man/man1/*.gz; do
  man -l "$page" >/dev/null
done

mkfifo "$folder/display"
Xvfb -displayfd 3 -nolisten tcp 3>"$folder/display" 2>/dev/null &
server=$!
read -r number <"$folder/display"
export DISPLAY=":$number"
if [ "$place" = bare ]; then
  tryInBareSystem
else
  "$root/packaging/tryPackage.sh" "$package"
fi
say "${package##*/} is fine"
