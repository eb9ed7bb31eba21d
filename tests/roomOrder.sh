#!/bin/bash
# Fails when a file under src/ includes a header of a room that stands above its own, when anything
# outside updates/, views/ and app/ includes a Qt header, or outside platform/ and utils/ one of the
# system's.
set -euo pipefail
cd "$1"
# shellcheck source=scripts/tell.sh
. scripts/tell.sh
rooms=$(sed -n 's/^set(TESSARIN_ROOMS \(.*\))$/\1/p' cmake/Rooms.cmake)
[ -n "$rooms" ] || { echo "cmake/Rooms.cmake names no rooms"; exit 1; }
failed=0
include='#[[:space:]]*include[[:space:]]+'
checkRoom() { # ROOM ALLOWED...
  local room=$1 allowed wrong
  shift
  allowed=$(IFS='|'; echo "$*")
  wrong=$(grep -rnE "^[[:space:]]*${include}\"" "src/$room" | grep -vE ":[[:space:]]*${include}\"($allowed)/[^\"]+\"" || true)
  [ -z "$wrong" ] && return
  echo "src/$room may include only $*, with the path from src/:"
  echo "$wrong"
  failed=1
}
known=()
for room in $rooms; do
  known+=("$room")
  [ -d "src/$room" ] && checkRoom "$room" "${known[@]}"
  case $room in
    ffmpeg) checkRoom tools "${known[@]}" tools ;;
    core) checkRoom cli "${known[@]}" cli ;;
  esac
done
checkRoom app "${known[@]}" app

# The system's own headers stop at platform and utils. Besides, what those build on, a program that
# is linked to no room, and the files of the export's writer that a kill may meet at any moment.
system='(unistd|fcntl|poll|pthread|signal|csignal|spawn|dirent|dlfcn|pwd|grp|termios|sched|semaphore|netdb|ftw|glob|sys/[a-z]+|netinet/[a-z]+|arpa/[a-z]+)'
atBorder='^src/(platform|utils)/|^src/classShared/descriptorBytes\.cpp:|^src/tools/ffmpegAdapter/|^src/tools/quicktime/(PartialFile|InterruptGuard)\.cpp:'
wrong=$(grep -rnE "${include}<$system(\.h)?>" src | grep -vE "$atBorder" || true)
[ -z "$wrong" ] || { echo "only platform/ and utils/ know the system's headers:"; echo "$wrong"; failed=1; }
wrong=$(grep -rnE '#[[:space:]]*include[[:space:]]+<(classShared|utils|platform|process|analysis|encoding|prefs|jobs|core)/' src || true)
[ -z "$wrong" ] || { echo "own headers are included with quotes:"; echo "$wrong"; failed=1; }
wrong=$(grep -rnE '#[[:space:]]*include[[:space:]]+<Q' src | grep -vE '^src/(updates|views|app)/' || true)
[ -z "$wrong" ] || { echo "only updates/, views/ and app/ know Qt:"; echo "$wrong"; failed=1; }
exit $failed
