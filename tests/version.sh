#!/bin/bash
# The version stands in CMakeLists.txt; whatever else names one has to agree.
set -euo pipefail
root=$1
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
program=$2
failed=0
version=$(sed -nE 's/^project\(Tessarin VERSION ([0-9.]+) .*/\1/p' "$root/CMakeLists.txt")

# agree FILE FOUND: the first version in the file, as it was found.
agree() {
  [ "$2" = "$version" ] && return
  echo "$1 says version \"$2\", CMakeLists.txt \"$version\"" >&2
  failed=1
}
agree --version "$("$program" --version | sed -nE 's/^Tessarin ([0-9.]+)$/\1/p')"
agree CHANGELOG.md "$(sed -nE 's/^## ([0-9.]+).*/\1/p' "$root/CHANGELOG.md" | head -n 1)"
agree debian/changelog "$(sed -nE '1s/^tessarin \(([0-9.]+)-.*/\1/p' "$root/packaging/debian/changelog")"
agree metainfo.xml "$(sed -nE 's/.*<release version="([^"]+)".*/\1/p' \
  "$root/packaging/org.tessarin.Tessarin.metainfo.xml" | head -n 1)"
agree README.md "$(sed -nE 's/.*tessarin_([0-9.]+)-1_amd64\.deb.*/\1/p' "$root/README.md" | head -n 1)"
exit "$failed"
