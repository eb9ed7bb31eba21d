#!/bin/bash
# Quality and size of Apple Intermediate Codec at the shipped quantiser, as ffmpeg decodes it. Fails
# when a frame does not decode.
#
#   bench/aicQuality.sh [FRAMES]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
aicenc="$root/build/release/bin/aicenc"
frames=${1:-10}

measure() { # NAME SOURCE
  ffmpeg -nostdin -v error -f lavfi -i "$2" -frames:v "$frames" -pix_fmt yuv420p \
    -f yuv4mpegpipe -y "$work/original.y4m"
  "$aicenc" -o "$work/movie.mov" "$work/original.y4m"
  local errors decoded
  errors=$(ffmpeg -nostdin -v error -err_detect explode -xerror -i "$work/movie.mov" -f null - 2>&1)
  decoded=$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$work/movie.mov")
  if [ -n "$errors" ] || [ "$decoded" != "$frames" ]; then
    echo "$1: $decoded of $frames frames decode $errors"
    exit 1
  fi
  ffmpeg -nostdin -v info -i "$work/movie.mov" -i "$work/original.y4m" -lavfi psnr -f null - 2>&1 |
    sed -n 's/.*PSNR y:\([0-9.inf]*\) u:\([0-9.inf]*\) v:\([0-9.inf]*\).*min:\([0-9.inf]*\).*/\1 \2 \3 \4/p' |
    while read -r luma blue red worst; do
      printf '%-28s luma %.1f dB, chroma %.1f and %.1f dB, worst frame %.1f dB, %d kB a frame\n' \
        "$1" "$luma" "$blue" "$red" "$worst" \
        $(($(stat -c %s "$work/movie.mov") / frames / 1000))
    done
  rm -f "$work/movie.mov"
}

fields=",format=yuv420p,tinterlace=interleave_top,setfield=tff"
measure "synthetic" "testsrc2=s=1920x1080:r=25"
measure "synthetic, interlaced" "testsrc2=s=1920x1080:r=50$fields"
measure "gradients" "gradients=s=1920x1080:r=25:seed=1"
measure "natural, little noise" "mandelbrot=s=1920x1080:r=25,noise=alls=3:allf=t:all_seed=1"
measure "natural, noise" "mandelbrot=s=1920x1080:r=25,noise=alls=6:allf=t:all_seed=1"
measure "natural, noise, interlaced" "mandelbrot=s=1920x1080:r=50,noise=alls=6:allf=t:all_seed=1$fields"
measure "strong noise" "testsrc2=s=1920x1080:r=25,noise=alls=12:allf=t:all_seed=1"
