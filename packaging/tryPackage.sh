#!/bin/bash
# Installs a package of Tessarin, uses what it brought and removes it again. Called by
# checkPackage.sh, as root, in the system that the package is to be tried in.
#   packaging/tryPackage.sh PACKAGE [bare]
# "bare" is said in a system made for this: there apt brings what the package depends on and nothing
# that it only recommends, and nothing of the name may be left in the end. With DISPLAY set, the
# window is opened on that X server, too.
set -euo pipefail
# shellcheck source=scripts/tell.sh
. "$(dirname "$(readlink -f "$0")")/../scripts/tell.sh"
package=$1
system=${2-}
folder=$(mktemp -d)
installed=
export DEBIAN_FRONTEND=noninteractive

leave() {
  [ -z "$installed" ] || dpkg --purge tessarin >/dev/null
  rm -rf "$folder"
}
trap leave EXIT

# quietly COMMAND...: its output is shown when it fails.
quietly() {
  ("$@") >"$folder/log" 2>&1 || fail "$* fails: $(cat "$folder/log")"
}

# openWindow PLATFORM: the window runs until it is asked to leave.
openWindow() {
  local status=0
  env -u XDG_CONFIG_HOME -u XDG_STATE_HOME XDG_RUNTIME_DIR="$folder" QT_QPA_PLATFORM="$1" \
    timeout 5 /usr/bin/tessarin-gui >"$folder/log" 2>&1 || status=$?
  [ "$status" -eq 124 ] || fail "the window ends with the status $status: $(cat "$folder/log")"
  grep -q 'first paint' "$HOME/Library/Logs/Tessarin/Details.log" ||
    fail "the window does not open ($1)"
  echo "the window opens ($1)"
}

installed=yes
if [ "$system" = bare ]; then
  quietly apt-get install --yes --no-install-recommends "$package"
  # shellcheck disable=SC2016 # the dollar signs are dpkg-query's
  developers=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' |
    sed -n 's/^installed \(.*-dev\)$/\1/p')
  [ -z "$developers" ] || fail "it brings what only developers need: $developers"
else
  quietly dpkg --install "$package"
fi
mapfile -t files < <(dpkg -L tessarin)

export HOME="$folder/home"
mkdir "$HOME"
/usr/bin/tessarin --version
ffmpeg -nostdin -v error \
  -f lavfi -i "testsrc2=s=720x576:r=50:d=0.2,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -c:v mpeg2video -flags +ildct+ilme -top 1 "$folder/clip.mpg"
for target in prores aic; do
  quietly /usr/bin/tessarin --format "$target" --destination "$folder/$target" "$folder/clip.mpg"
  [ -s "$(echo "$folder/$target"/Tessarin/*.mov)" ] || fail "no movie for $target"
done
if [ -x /usr/bin/tessarin-gui ]; then
  ldd /usr/bin/tessarin-gui | { ! grep 'not found'; } || fail "libraries of the window are missing"
  openWindow offscreen
  [ -z "${DISPLAY-}" ] || openWindow xcb
fi

quietly dpkg --purge tessarin
installed=
for file in "${files[@]}"; do
  [ -d "$file" ] || [ ! -e "$file" ] || fail "still there: $file"
done
[ ! -e /usr/lib/tessarin ] || fail "still there: /usr/lib/tessarin"
if [ "$system" = bare ]; then
  quietly apt-get autoremove --purge --yes
  left=$(find / -xdev -path "$folder" -prune -o -path "$package" -prune -o -iname '*tessarin*' -print)
  [ -z "$left" ] || fail "still there: $left"
fi
