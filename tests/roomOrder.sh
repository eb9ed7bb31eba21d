#!/bin/bash
# Fails when a file under src/ includes a header of a room that stands above its own, or when
# anything outside updates/, views/ and app/ includes a Qt header.
set -euo pipefail
cd "$1"
# shellcheck source=scripts/tell.sh
. scripts/tell.sh
rooms=$(sed -n 's/^set(TESSARIN_ROOMS \(.*\))$/\1/p' cmake/Rooms.cmake)
[ -n "$rooms" ] || { echo "cmake/Rooms.cmake names no rooms"; exit 1; }
failed=0
allowed=""
for room in $rooms; do
  allowed="$allowed|$room"
  pattern="^[[:space:]]*#[[:space:]]*include[[:space:]]+\"(${allowed#|})/[^\"]+\""
  wrong=$(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]+"' "src/$room"/*.h "src/$room"/*.cpp 2>/dev/null |
    grep -vE "^[^:]+:[0-9]+:${pattern#^}" || true)
  if [ -n "$wrong" ]; then
    echo "src/$room may include only rooms up to its own, with the path from src/:"
    echo "$wrong"
    failed=1
  fi
done
wrong=$(grep -rnE '#[[:space:]]*include[[:space:]]+<(classShared|utils|platform|process|analysis|encoding|prefs|core)/' src || true)
[ -z "$wrong" ] || { echo "own headers are included with quotes:"; echo "$wrong"; failed=1; }
wrong=$(grep -rnE '#[[:space:]]*include[[:space:]]+<Q' src | grep -vE '^src/(updates|views|app)/' || true)
[ -z "$wrong" ] || { echo "only updates/, views/ and app/ know Qt:"; echo "$wrong"; failed=1; }
exit $failed
