#!/bin/bash
# What tessarin costs over the bare ffmpeg runs, for one conversion and for the analysis of many
# clips. Prints a table; figures of one call belong together, those of two calls do not.
#
#   bench/wholeRuns.sh [SECONDS OF THE CLIP] [CLIPS TO ANALYSE]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
tessarin="$root/build/release/bin/tessarin"
seconds=${1:-10}
clips=${2:-200}
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache"
mkdir -p "$HOME" "$work/clips"

ffmpeg -nostdin -v error -f lavfi \
  -i "testsrc2=s=1920x1080:r=50:d=$seconds,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -f lavfi -i "sine=1000:r=48000:d=$seconds" -c:v libx264 -preset veryfast -flags +ildct+ilme \
  -top 1 -c:a ac3 -ac 2 -f mpegts "$work/clip.mts"
ffmpeg -nostdin -v error -f lavfi \
  -i "testsrc2=s=720x576:r=50:d=0.4,format=yuv420p,tinterlace=interleave_top,setfield=tff" \
  -c:v mpeg2video -flags +ildct+ilme -top 1 -q:v 2 -f mpegts "$work/short.mts"
for number in $(seq -w "$clips"); do
  cp "$work/short.mts" "$work/clips/$number.mts"
done

# The bare runs: what tessarin runs, without tessarin and its adapter.
analysis() {
  ffmpeg -nostdin -loglevel debug -fdebug ts -i "$1" -vframes 10 -pix_fmt yuv420p -an \
    -f yuv4mpegpipe -y "$work/frame.yuv" </dev/null >"$work/report" 2>&1
  ffmpeg -nostdin -loglevel info -ss 0 -i "$1" -vframes 1 -t 12 \
    -vf 'select=eq(pict_type\,I),scale=160:90' -an -sn -y "$work/thumbnail.jpg" </dev/null >"$work/report" 2>&1
}
encoding() {
  ffmpeg -nostdin -loglevel info -fflags +genpts -i "$1" -c:v prores -profile:v 2 \
    -flags +ildct+ilme -top 1 -threads auto \
    -vf scale=interl=-1,format=yuv422p10,fieldorder=tff,setfield=tff -r 25/1 -async 3000 \
    -c:a pcm_s16le -ac 2 -movflags faststart -sn -y "$work/bare.mov" </dev/null >"$work/report" 2>&1
}
bareConversion() { analysis "$work/clip.mts" && encoding "$work/clip.mts"; }
# With the encoder of the bare runs, or the two would be compared.
conversion() {
  TESSARIN_PRORES_ENCODER=ffmpeg "$tessarin" -d "$work" --overwrite replace "$work/clip.mts" >"$work/report"
}
bareAnalyses() {
  local clip
  for clip in "$work/clips/"*; do analysis "$clip"; done
}
analyses() { "$tessarin" analyse "$work/clips" >"$work/table"; }

# wall COMMAND...: seconds that it takes.
wall() { times "$@" | cut -d' ' -f1; }

# ownCost COMMAND...: processor seconds and peak memory of that process alone, children left out.
ownCost() {
  "$@" >"$work/report" &
  local pid=$! line ticks=0 memory=0
  while line=$(cat "/proc/$pid/stat" 2>/dev/null) && [ -n "$line" ]; do
    line=${line##*) }
    # shellcheck disable=SC2086 # the fields of the line
    set -- $line
    [ "$1" = Z ] && break
    ticks=$((${12} + ${13}))
    line=$(awk '/^VmHWM/ { print $2 }' "/proc/$pid/status" 2>/dev/null) || true
    memory=${line:-$memory}
    sleep 0.02
  done
  wait "$pid"
  echo "$ticks $memory $(getconf CLK_TCK)" | awk '{ printf "%.2f %.1f\n", $1 / $3, $2 / 1024 }'
}

conversion # the first start asks ffmpeg what it can do
declare -a ours=() bare=()
for _ in 1 2 3 4 5; do
  bare+=("$(wall bareConversion)")
  ours+=("$(wall conversion)")
done
bareTime=$(printf '%s\n' "${bare[@]}" | median)
ourTime=$(printf '%s\n' "${ours[@]}" | median)
read -r processor memory < <(ownCost "$tessarin" -d "$work" --overwrite replace "$work/clip.mts")
read -r _ processorOfRun < <(times conversion)
echo "one clip of $seconds s, median of 5, alternating:"
echo "  bare ffmpeg      $bareTime s"
echo "  tessarin         $ourTime s   ratio $(ratio "$ourTime" "$bareTime")"
figure "one conversion with ffmpeg's encoder beside the bare ffmpeg runs" "$(ratio "$ourTime" "$bareTime")" less
echo "  its own part     $processor s of $processorOfRun s processor time, $memory MB at the most"

bareTime=$(wall bareAnalyses)
ourTime=$(wall analyses)
figure "$clips short clips analysed beside the bare ffmpeg runs" "$(ratio "$ourTime" "$bareTime")" less
echo "$clips clips analysed:"
echo "  bare ffmpeg      $bareTime s"
echo "  tessarin         $ourTime s   over it, per clip: $(echo "$ourTime $bareTime $clips" | awk '{ printf "%.1f", 1000 * ($1 - $2) / $3 }') ms"
log="$HOME/Library/Logs/Tessarin/Details.log"
# The time between two sources in the detail log, for the first and the last tenth.
grep -a 'analysis new file   : .*/clips/' "$log" | awk -v count="$clips" '
  { split($2, part, ":"); time[NR] = part[1] * 3600 + part[2] * 60 + part[3] }
  END {
    tenth = int(count / 10); if (tenth < 1) tenth = 1
    printf "  a source at the start %.1f ms, at the end %.1f ms\n",
      1000 * (time[1 + tenth] - time[1]) / tenth, 1000 * (time[NR] - time[NR - tenth]) / tenth
  }'
