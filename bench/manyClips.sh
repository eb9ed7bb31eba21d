#!/bin/bash
# How many clips at the same time are quickest: many short ones analysed, some of two seconds
# converted, each with 1, 2, 3 … at a time, in turns. Prints seconds, and how many times as fast as
# one at a time; figures of one call belong together, those of two calls do not.
#
#   bench/manyClips.sh [CLIPS TO ANALYSE] [CLIPS TO CONVERT] [ROUNDS] [MOST AT A TIME]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
tessarin="$root/build/release/bin/tessarin"
clips=${1:-200}
movies=${2:-12}
rounds=${3:-3}
most=${4:-$(($(nproc) + 2))}
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache"
mkdir -p "$HOME" "$work/clips" "$work/avchd" "$work/hdv"

ffmpeg -nostdin -v error -f lavfi \
  -i "testsrc2=s=720x576:r=50:d=0.4,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 2 -f mpegts "$work/short.mts"
ffmpeg -nostdin -v error -f lavfi \
  -i "testsrc2=s=1920x1080:r=50:d=2,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -f lavfi -i "sine=1000:r=48000:d=2" -c:v libx264 -preset veryfast -flags +ildct+ilme \
  -top 1 -c:a ac3 -ac 2 -f mpegts "$work/clip.mts"
ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=1280x720:r=50:d=2" -c:v mpeg2video -q:v 2 \
  -pix_fmt yuv420p -f mpegts "$work/whole.mts"
for number in $(seq -w "$clips"); do
  cp "$work/short.mts" "$work/clips/$number.mts"
done
for number in $(seq -w "$movies"); do
  cp "$work/clip.mts" "$work/avchd/$number.mts"
  cp "$work/whole.mts" "$work/hdv/$number.mts"
done

analysis() { "$tessarin" analyse --jobs "$1" "$work/clips" >"$work/table"; }
makeMovies() { "$tessarin" -d "$work" --jobs "$1" --overwrite replace --format "$2" "$3" >"$work/table"; }
conversion() { makeMovies "$1" prores "$work/avchd"; }
copying() { makeMovies "$1" quicktime "$work/hdv"; }

analysis 1 # the first start asks ffmpeg what it can do
printf '%-12s %5s %9s %9s %7s\n' "" "jobs" "median s" "cpu s" "times"
for what in analysis conversion copying; do
  for _ in $(seq "$rounds"); do
    for jobs in $(seq "$most"); do
      times "$what" "$jobs" >>"$work/$what.$jobs"
    done
  done
  one=$(cut -d' ' -f1 "$work/$what.1" | median)
  for jobs in $(seq "$most"); do
    seconds=$(cut -d' ' -f1 "$work/$what.$jobs" | median)
    printf '%-12s %5s %9s %9s %7s\n' "$what" "$jobs" "$seconds" \
      "$(cut -d' ' -f2 "$work/$what.$jobs" | median)" "$(ratio "$one" "$seconds")"
    [ "$jobs" = 1 ] || figure "$what, $jobs at the same time beside one" "$(ratio "$one" "$seconds")" more
  done
done
