#!/bin/bash
# Makes the pictures of the window that stand in the documents: docs/images/LANGUAGE-SCHEME-STATE.png.
#   scripts/screenshots.sh [FOLDER]
# The screen is a virtual one, so that nothing of the desktop it is run on can be seen in them.
set -euo pipefail
root=$(dirname "$(dirname "$(readlink -f "$0")")")
# shellcheck source=scripts/setup.sh
. "$root/scripts/setup.sh"

folder=${1:-$root/docs/images}
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -p "$folder"

installPackages "${allPackages[@]}" "${runPackages[@]}" "${screenshotPackages[@]}"
build release makeScreenshots

say "taking the pictures"
# A home of its own: neither the user's choices nor his movies take part.
env -u XDG_CONFIG_HOME -u XDG_STATE_HOME HOME="$home" XDG_RUNTIME_DIR="$home" TMPDIR="$home" \
  QT_QPA_PLATFORM=xcb QT_QPA_PLATFORMTHEME= LANG=C.UTF-8 \
  xvfb-run -a -s "-screen 0 1600x1200x24" \
  "$root/build/release/tests/makeScreenshots" "$folder" \
  en-light en-dark en-hud de-light de-dark
