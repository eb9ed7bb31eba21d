#!/bin/bash
# What an export to ProRes by movtool costs over one ffmpeg command that makes the same movie.
# Prints the medians of alternating runs; figures of one call belong together.
#
#   bench/exportRuns.sh [SECONDS OF THE CLIP] [RUNS]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
resources="$root/build/release/resources"
seconds=${1:-20}
runs=${2:-5}

ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=1920x1080:r=25:d=$seconds,format=yuv420p" \
  -f lavfi -i "sine=1000:r=48000:d=$seconds" \
  -c:v libx264 -preset veryfast -c:a ac3 -ac 2 -f mov "$work/clip.mov"

export_() {
  "$resources/tools/movtool" -s "$resources/presetQt/pr1920x1080p25" -i "$work/clip.mov" -y \
    -o "$work/ours.mov" >/dev/null
}
# Size, rate, pixel format and the tags of the movie that movtool makes; ffmpeg's encoder wants the
# pictures as the decoder gives them in 4:2:2 with 10 bits.
bare() {
  ffmpeg -nostdin -v error -progress "$work/progress" -i "$work/clip.mov" -map 0:V:0 -map '0:a?' \
    -vf "fps=25/1,scale=1920:1080:interl=-1,format=yuv422p10le,setfield=prog,setsar=1/1:max=65535,setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709" \
    -c:v prores -profile:v 2 -c:a pcm_s16le -f mov -y "$work/bare.mov"
}

for _ in $(seq "$runs"); do
  times bare >>"$work/bare"
  times export_ >>"$work/ours"
done
md5() { ffmpeg -nostdin -v error -i "$1" -map 0 -f md5 -; }
[ "$(md5 "$work/ours.mov")" = "$(md5 "$work/bare.mov")" ] || echo "the two movies differ"
echo "1080p25, $seconds s, to ProRes, median of $runs, alternating:"
for column in 1 2; do
  bareTime=$(cut -d' ' -f$column "$work/bare" | median)
  ourTime=$(cut -d' ' -f$column "$work/ours" | median)
  [ $column = 1 ] && kind="real time     " || kind="processor time"
  echo "  $kind  ffmpeg $bareTime s, movtool $ourTime s, ratio $(ratio "$ourTime" "$bareTime")"
done
