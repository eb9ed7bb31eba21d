#!/bin/bash
# PSNR of our ProRes beside that of ffmpeg's two encoders at the same size, Standard, as ffmpeg
# decodes it. All three get the same 4:2:2 of 10 bits. Sizes are those of the frames: a movie of
# ours has room for its index in front, which would count for much in so short ones. Ours is tried
# with one index after another until it is smaller; what it would have at exactly the size lies
# between the last two.
# Then what is left of 4:2:2 chroma when it goes through 4:2:0: raised by ours, and by ffmpeg's
# scaler.
#
#   bench/proresQuality.sh [FRAMES]
set -euo pipefail
# shellcheck source=bench/support.sh
. "$(dirname "$0")/support.sh"
proresenc="$root/build/release/bin/proresenc"
frames=${1:-5}
original="$work/original.y4m"
halved="$work/halved.y4m"

frameBytes() {
  ffprobe -v error -select_streams v -show_entries packet=size -of csv=p=0 "$1" |
    awk '{ sum += $1 } END { print sum }'
}

# judge MOVIE [ORIGINAL]: bytes a frame, and PSNR of luma and of both kinds of chroma together.
judge() {
  local errors
  errors=$(ffmpeg -nostdin -v warning -xerror -i "$1" -f null - 2>&1)
  [ -z "$errors" ] || fail "$1 does not decode: $errors"
  ffmpeg -nostdin -v info -i "$1" -i "${2:-$original}" \
    -lavfi "[0]format=yuv422p10[a];[1]format=yuv422p10[b];[a][b]psnr=stats_file=$work/stats" -f null - 2>"$work/report"
  # From the PSNR of each frame: what is told of its squared error has two decimals, which leaves
  # half a decibel in the dark where hardly a sample is wrong.
  awk -v bytes="$(frameBytes "$1")" '
    { for (i = 1; i <= NF; i++) { split($i, part, ":"); sum[part[1]] += squared(part[2]) } }
    function squared(psnr) { return psnr == "inf" ? 0 : 1023 * 1023 * 10 ^ (-psnr / 10) }
    function decibels(error) { return 10 * log(1023 * 1023 / (error / NR + 1e-9)) / log(10) }
    END { printf "%d %.2f %.2f\n", bytes / NR, decibels(sum["psnr_y"]), decibels((sum["psnr_u"] + sum["psnr_v"]) / 2) }' \
    "$work/stats"
}

# atSize BYTES: PSNR of luma and chroma that ours has at this size.
atSize() {
  local index before="" now
  for index in 1 2 3 4 5 6 7 8 9 10 11 12 14 16 18 20 23 26 30 35 40 48 56 64 80 96 112 128 160 192 224; do
    "$proresenc" -q "$index" -o "$work/own.mov" "$original"
    now=$(judge "$work/own.mov")
    if [ "${now%% *}" -le "$1" ]; then
      echo "$1 ${before:-$now} $now" | awk '{
        part = $2 == $5 ? 1 : log($2 / $1) / log($2 / $5)
        printf "%.2f %.2f\n", $3 + part * ($6 - $3), $4 + part * ($7 - $4) }'
      return
    fi
    before=$now
  done
  fail "even the coarsest index needs more than $1 bytes"
}

measure() { # NAME SOURCE [FLAGS OF FFMPEG'S ENCODERS...]
  local name=$1 source=$2 codec bytes luma chroma ownLuma ownChroma gain chromaGain
  shift 2
  # With the flags its header tells of fields.
  ffmpeg -nostdin -v error -f lavfi -i "$source" -frames:v "$frames" -strict -1 "$@" -y "$original"
  for codec in prores prores_ks; do
    ffmpeg -nostdin -v error -i "$original" -c:v "$codec" -profile:v 2 "$@" -y "$work/theirs.mov"
    read -r bytes luma chroma < <(judge "$work/theirs.mov")
    read -r ownLuma ownChroma < <(atSize "$bytes")
    gain=$(echo "$ownLuma $luma" | awk '{ print $1 - $2 }')
    chromaGain=$(echo "$ownChroma $chroma" | awk '{ print $1 - $2 }')
    printf '%-28s at %4d kB: %-9s %5.2f / %5.2f dB, ours %5.2f / %5.2f dB: %+.2f / %+.2f\n' \
      "$name" $((bytes / 1000)) "$codec" "$luma" "$chroma" "$ownLuma" "$ownChroma" "$gain" "$chromaGain"
    figure "$name: dB of luma more than $codec at its size" "$gain" more
    figure "$name: dB of chroma more than $codec at its size" "$chromaGain" more
  done
  "$proresenc" -o "$work/own.mov" "$original"
  read -r bytes luma chroma < <(judge "$work/own.mov")
  printf '%-28s at %4d kB: %-9s %5.2f / %5.2f dB (as shipped)\n' "$name" $((bytes / 1000)) ours "$luma" "$chroma"
}

raised() { # NAME SOURCE FIELDS [FLAGS...]
  local name=$1 source=$2 interl=$3
  shift 3
  ffmpeg -nostdin -v error -f lavfi -i "$source" -frames:v "$frames" -strict -1 "$@" -y "$original"
  ffmpeg -nostdin -v error -i "$original" -vf "scale=interl=$interl,format=yuv420p" "$@" -y "$halved"
  ffmpeg -nostdin -v error -i "$halved" -vf "scale=interl=$interl,format=yuv422p10" -strict -1 "$@" \
    -f yuv4mpegpipe - | "$proresenc" -q 1 -o "$work/theirs.mov"
  "$proresenc" -q 1 -o "$work/own.mov" "$halved"
  local own theirs
  own=$(judge "$work/own.mov")
  theirs=$(judge "$work/theirs.mov")
  echo "$name: chroma that went through 4:2:0: ours ${own##* } dB, ffmpeg's scaler ${theirs##* } dB"
}

little="noise=alls=3:allf=t:all_seed=1"
usual="noise=alls=6:allf=t:all_seed=1"
strong="noise=alls=12:allf=t:all_seed=1"
deep="format=yuv422p10"
fields="$deep,tinterlace=interleave_top,setfield=tff"
for scan in p i; do
  rate=25 end=$deep flags=() mark=""
  if [ $scan = i ]; then
    rate=50 end=$fields flags=(-flags +ildct+ilme -field_order tt) mark=", interlaced"
  fi
  measure "synthetic$mark" "testsrc2=s=1920x1080:r=$rate,$end" "${flags[@]}"
  measure "gradients$mark" "gradients=s=1920x1080:r=$rate:seed=1,$end" "${flags[@]}"
  measure "natural, little noise$mark" "mandelbrot=s=1920x1080:r=$rate,$little,$end" "${flags[@]}"
  measure "natural, noise$mark" "mandelbrot=s=1920x1080:r=$rate,$usual,$end" "${flags[@]}"
  measure "strong noise$mark" "testsrc2=s=1920x1080:r=$rate,$strong,$end" "${flags[@]}"
done
raised "progressive" "mandelbrot=s=1920x1080:r=25,$deep" 0
raised "interlaced" "mandelbrot=s=1920x1080:r=50,$fields" 1 -flags +ildct+ilme -field_order tt
