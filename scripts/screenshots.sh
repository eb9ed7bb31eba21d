#!/bin/bash
# Makes the pictures of the window that stand in the documents: docs/images/LANGUAGE-SCHEME-STATE.png.
#   scripts/screenshots.sh [FOLDER]
# With a folder all states are kept there, to be looked at, in the KINDS of the environment variable
# (such as "fr-light it-dark"); without one those that README.md and the documents show.
# Environment: QT_SCALE_FACTOR for another resolution.
# The screen is a virtual one, so that nothing of the desktop it is run on can be seen in them.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "$0")")")
# shellcheck source=scripts/setup.sh
. "$root/scripts/setup.sh"

home=$(mktemp -d)
folder=${1:-$home/images}
read -ra kinds <<<"${KINDS:-en-light en-dark de-light de-dark}"
all=(--all)
[ $# -gt 0 ] || { kinds=(en-light en-hud de-dark) && all=(); }
trap 'rm -rf "$home"' EXIT
mkdir -p "$folder"

installPackages "${allPackages[@]}" "${runPackages[@]}" "${screenshotPackages[@]}"
build release makeScreenshots

say "taking the pictures"
# A home of its own: neither the user's choices nor his movies take part.
env -u XDG_CONFIG_HOME -u XDG_STATE_HOME HOME="$home" XDG_RUNTIME_DIR="$home" TMPDIR="$home" \
  QT_QPA_PLATFORM=xcb QT_QPA_PLATFORMTHEME= LANG=C.UTF-8 \
  xvfb-run -a -s "-screen 0 3200x2400x24" \
  "$root/build/release/tests/makeScreenshots" "${all[@]}" "$folder" \
  "${kinds[@]}"

[ $# -eq 0 ] || exit 0
shown=$(cd "$root" && sed -n 's/.*](\(docs\/\)\?images\/\([a-zA-Z0-9-]*\.png\)).*/\2/p' README.md docs/*.md | sort -u)
rm -f "$root"/docs/images/*.png
for picture in $shown; do
  cp "$folder/$picture" "$root/docs/images/$picture"
done
