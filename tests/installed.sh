#!/bin/bash
# Installs a build into a folder of its own, as "cmake --install" does for a user, and runs what is
# there: it has to find its resources and tools without the build.
set -euo pipefail
# shellcheck source=scripts/tell.sh
. "$(dirname "$0")/../scripts/tell.sh"
build=$1
folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
trap 'rm -rf "$folder"' EXIT
prefix="$folder/a prefix"

cmake --install "$build" --prefix "$prefix" >"$folder/log" || fail "$(cat "$folder/log")"
export HOME="$folder/home" TMPDIR="$folder/temporary" LC_ALL=C
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_STATE_HOME
mkdir "$HOME" "$TMPDIR"

# Nothing of the build but what was meant to be installed.
stray=$(find "$prefix" -name 'CMake*' -o -name '*.cmake' -o -name '*Tests')
[ -z "$stray" ] || fail "does not belong there: $stray"
for encoder in aicenc proresenc; do
  [ -x "$prefix/bin/$encoder" ] || fail "there is no $encoder"
done
resources="$prefix/lib/tessarin/resources"
for built in "$build/resources/tools"/*; do
  [ -x "$resources/tools/${built##*/}" ] || fail "the tool ${built##*/} was not installed"
done
[ ! -d "$build/resources/presetQt" ] ||
  diff -r "$build/resources/presetQt" "$resources/presetQt" || fail "the export settings differ"

version=$("$prefix/bin/tessarin" --version)
[[ $version =~ ^Tessarin\ [0-9]+\.[0-9]+ ]] || fail "the version is: $version"

# A plan asks ffmpeg about the clip through the installed adapter and names that in its lines.
ffmpeg -nostdin -v error \
  -f lavfi -i "testsrc2=s=352x288:r=50:d=0.2,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -c:v mpeg2video -flags +ildct+ilme -top 1 "$folder/clip.mpg"
plan=$("$prefix/bin/tessarin" plan --destination "$folder" "$folder/clip.mpg")
[[ $plan == *"resources/tools/ffmpeg"*"$folder/Tessarin/clip.mov"* ]] || fail "the plan is: $plan"
[[ $plan == *"a prefix/lib/tessarin"* ]] || fail "the plan does not use the installed tools: $plan"
sh -e <<<"$plan" >"$folder/log" 2>&1 || fail "the plan does not run: $(cat "$folder/log")"
[ -s "$folder/Tessarin/clip.mov" ] || fail "the plan makes no movie: $plan"

# What the desktop reads.
desktop="$prefix/share/applications/org.tessarin.Tessarin.desktop"
if [ -x "$prefix/bin/tessarin-gui" ]; then
  icons="$prefix/share/icons/hicolor"
  [ -f "$icons/scalable/apps/org.tessarin.Tessarin.svg" ] || fail "no icon"
  for size in 16 22 24 32 48 64 128 256; do
    measured=$(ffprobe -v error -show_entries stream=width,height -of csv=p=0 \
      "$icons/${size}x$size/apps/org.tessarin.Tessarin.png") || fail "no icon of the size $size"
    [ "$measured" = "$size,$size" ] || fail "the icon of the size $size has $measured"
  done
  if command -v desktop-file-validate >/dev/null; then
    complaints=$(desktop-file-validate "$desktop") || fail "$complaints"
  fi
  if command -v appstreamcli >/dev/null; then
    complaints=$(appstreamcli validate --no-net \
      "$prefix/share/metainfo/org.tessarin.Tessarin.metainfo.xml") || fail "$complaints"
  fi
elif [ -e "$desktop" ]; then
  fail "a desktop entry without its program"
fi
