#!/bin/bash
# Makes the Debian package of a build and tries it: lintian, installation, a conversion with what
# was installed, removal. Needs root (the package is really installed) and the packages lintian and
# dpkg-dev.
#   packaging/checkPackage.sh [BUILD]      BUILD is build/release when it is not named
set -euo pipefail
build=$(readlink -f "${1:-$(dirname "$0")/../build/release}")
folder=$(mktemp -d)
installed=

leave() {
  [ -z "$installed" ] || dpkg --purge tessarin >/dev/null
  rm -rf "$folder"
}
trap leave EXIT

fail() {
  echo "checkPackage.sh: $*" >&2
  exit 1
}

[ "$(id -u)" -eq 0 ] || fail "only root can install packages"
! dpkg-query -W tessarin >/dev/null 2>&1 || fail "the package is installed already"

(cd "$folder" && cpack --config "$build/CPackConfig.cmake" -G DEB >log) || fail "$(cat "$folder/log")"
package=$(echo "$folder"/*.deb)
lintian --fail-on error "$package"

installed=yes
dpkg --install "$package" >"$folder/log" || fail "$(cat "$folder/log")"
mapfile -t files < <(dpkg -L tessarin)
export HOME="$folder/home"
mkdir "$HOME"
/usr/bin/tessarin --version
ffmpeg -nostdin -v error \
  -f lavfi -i "testsrc2=s=352x288:r=50:d=0.2,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -c:v mpeg2video -flags +ildct+ilme -top 1 "$folder/clip.mpg"
/usr/bin/tessarin --destination "$folder" "$folder/clip.mpg"
[ -s "$folder/Tessarin/clip.mov" ] || fail "no movie"
if [ -x /usr/bin/tessarin-gui ]; then
  ldd /usr/bin/tessarin-gui | { ! grep 'not found'; } || fail "libraries of the window are missing"
  # It runs until it is asked to leave.
  status=0
  env -u XDG_CONFIG_HOME -u XDG_STATE_HOME XDG_RUNTIME_DIR="$folder" QT_QPA_PLATFORM=offscreen \
    timeout 5 /usr/bin/tessarin-gui >"$folder/log" 2>&1 || status=$?
  [ "$status" -eq 124 ] || fail "the window ends with the status $status: $(cat "$folder/log")"
  grep -q 'awakeFromNib        - end' "$HOME/Library/Logs/Tessarin/Details.log" ||
    fail "the window did not open"
  desktop-file-validate /usr/share/applications/org.tessarin.Tessarin.desktop
  appstreamcli validate --no-net /usr/share/metainfo/org.tessarin.Tessarin.metainfo.xml
fi
man -l /usr/share/man/man1/tessarin.1.gz >/dev/null

dpkg --purge tessarin >"$folder/log" || fail "$(cat "$folder/log")"
installed=
for file in "${files[@]}"; do
  [ -d "$file" ] || [ ! -e "$file" ] || fail "still there: $file"
done
[ ! -e /usr/lib/tessarin ] || fail "still there: /usr/lib/tessarin"
echo "checkPackage.sh: ${package##*/} is fine"
