#!/bin/bash
# What a conversion to ProRes takes beside one ffmpeg command that makes a movie with the same
# pictures, fields and sound: by tessarin with all that belongs to it, and by its tools alone.
# Prints the medians of alternating runs; figures of one call belong together.
#
#   bench/exportRuns.sh [SECONDS OF THE CLIPS] [RUNS]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
tessarin="$root/build/release/bin/tessarin"
resources="$root/build/release/resources"
seconds=${1:-6}
runs=${2:-5}
export HOME="$work/home" XDG_CONFIG_HOME="$work/config" XDG_CACHE_HOME="$work/cache"
mkdir -p "$HOME"

scene="mandelbrot=s=1920x1080:r=50,trim=duration=$seconds,noise=alls=4:allf=t:all_seed=1,format=yuv420p"
sound=(-f lavfi -i "sine=1000:r=48000:d=$seconds")
# A key frame each half second, as cameras have them.
h264=(-c:v libx264 -preset veryfast -b:v 17M -c:a ac3 -ac 2 -f mpegts)
ffmpeg -nostdin -v error -f lavfi -i "$scene,tinterlace=interleave_top,setfield=tff" "${sound[@]}" \
  "${h264[@]}" -g 12 -flags +ildct+ilme -top 1 "$work/i.mts"
ffmpeg -nostdin -v error -f lavfi -i "$scene" "${sound[@]}" "${h264[@]}" -g 25 "$work/p.mts"

colours="setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709"
bare() { # i|p
  local flags=() filters="format=yuv422p10,$colours"
  if [ "$1" = i ]; then
    flags=(-flags +ildct+ilme -field_order tb) filters="scale=interl=1,format=yuv422p10,setfield=tff,$colours"
  fi
  ffmpeg -nostdin -v error -i "$work/$1.mts" -c:v prores -profile:v 2 "${flags[@]}" -vf "$filters" \
    -c:a pcm_s16le -ac 2 -movflags faststart -y "$work/bare.mov"
}
tools() { # i|p
  if [ "$1" = i ]; then
    "$resources/tools/ffmpeg" -v error -i "$work/i.mts" -c:v prores -profile 2 \
      -flags +ildct+ilme -field_order tb \
      -vf "$colours,scale=interl=-1,format=yuv422p10,fieldorder=tff,setfield=tff" -r 25/1 -async 3000 -c:a pcm_s16le -ac 2 \
      -movflags faststart -color_primaries bt709 -color_trc bt709 -colorspace bt709 -sn -y "$work/ours.mov"
  else
    "$resources/tools/movtool" -s "$resources/presetQt/pr1920x1080p50" -i "$work/p.mts" -y \
      -o "$work/ours.mov" >/dev/null
  fi
}
whole() { # i|p
  "$tessarin" --for 50p60p --format prores -d "$work" --overwrite replace "$work/$1.mts" >"$work/report"
}
facts() {
  ffprobe -v error -select_streams v -count_frames \
    -show_entries stream=nb_read_frames,field_order,width,height,r_frame_rate -of csv=p=0 "$1"
}

whole p # the first start asks ffmpeg what it can do
for scan in i p; do
  rm -f "$work"/times-*
  for _ in $(seq "$runs"); do
    for kind in bare tools whole; do
      times "$kind" "$scan" >>"$work/times-$kind"
    done
  done
  for movie in "$work/ours.mov" "$work/Tessarin/$scan.mov"; do
    [ "$(facts "$movie")" = "$(facts "$work/bare.mov")" ] ||
      echo "the movies differ: $(facts "$movie") and $(facts "$work/bare.mov")"
  done
  echo "1080${scan}50, $seconds s, to ProRes, median of $runs, alternating:"
  for column in 1 2; do
    what="real time"
    [ $column = 1 ] || what="processor time"
    bareTime=$(cut -d' ' -f$column "$work/times-bare" | median)
    toolsTime=$(cut -d' ' -f$column "$work/times-tools" | median)
    wholeTime=$(cut -d' ' -f$column "$work/times-whole" | median)
    asFast=$(ratio "$bareTime" "$wholeTime")
    toolsAsFast=$(ratio "$bareTime" "$toolsTime")
    printf '  %-14s  ffmpeg %s s; tools %s s, %s times as fast; tessarin %s s, %s times\n' "$what" \
      "$bareTime" "$toolsTime" "$toolsAsFast" "$wholeTime" "$asFast"
    figure "1080${scan}50, $seconds s, to ProRes beside ffmpeg: tools, $what" "$toolsAsFast" more
    figure "1080${scan}50, $seconds s, to ProRes beside ffmpeg: tessarin, $what" "$asFast" more
  done
done
