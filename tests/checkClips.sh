#!/bin/bash
# Whether scripts/checkClips and scripts/tryFfmpegs see what they are for.
#   checkClips.sh right ROOT BUILD    real conversions of awkward clips: nothing may be wrong
#   checkClips.sh wrong ROOT          movies with one fault each: every fault has to be named
# Exit status 77: what it needs is not there.
set -euo pipefail
mode=$1
root=$2
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"

/usr/bin/python3 -c 'import numpy' 2>/dev/null || {
  echo "skipped: no python3-numpy"
  exit 77
}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

if [ "$mode" = right ]; then
  "$root/scripts/makeClips" "$folder/clips" photo-12-5 phone-176 fields-320x240
  # Sanitizers reserve more memory than any limit allows.
  "$root/scripts/checkClips" --program "$3/bin/tessarin" --memory 0 --target aic "$folder/clips"
  exit
fi

# A program that makes right movies, but for the fault that the clip, or the ffmpeg, is named after.
cat >"$folder/program" <<'PROGRAM'
#!/bin/bash
clip=${*: -1}
if [ "$1" = analyse ]; then
  echo '{"event":"analysed","target":"aic","speed":"full","size":"1440x1080 i (   25|30 fps)"}'
  exit
fi
destination=$(sed 's/.*--destination \([^ ]*\) .*/\1/' <<<"$*")
mkdir -p "$destination"
filter=null
sound=anull
colours=color_primaries=bt470bg:color_trc=bt709:colorspace=bt470bg
more=()
case "$clip ${TESSARIN_FFMPEG-}" in
  *dropped*) filter="select='not(eq(n,20))',setpts=N/25/TB" ;;
  *repeated*) filter="select='not(eq(n,20))',fps=25" ;;
  *swapped*) filter=setfield=bff,fieldorder=tff,setfield=tff ;;
  *unclaimed*) filter=setfield=prog ;;
  *shifted*) sound=adelay=60:all=1 ;;
  *hole*) sound="volume=0:enable='between(t,0.5,1.1)'" ;;
  *shortSound*) sound=atrim=end=1.3 ;;
  *mute*) more=(-an) ;;
  *matrix*) colours=color_primaries=bt709:color_trc=bt709:colorspace=bt709 ;;
  *range*) filter="lutyuv=y='(val-16)*255/219'" ;;
  *shape*) filter=setsar=16/15 ;;
  *cut*) more=(-t 1.2) ;;
esac
# Chroma is brought to 4:2:2 field by field.
filter="$filter,scale=interl=1,format=yuv422p10,setparams=$colours"
ffmpeg -nostdin -v error -i "$clip" -vf "$filter" -af "$sound" "${more[@]}" -c:v prores_ks \
  -flags +ildct+ilme -c:a pcm_s16le "$destination/movie.mov"
echo "{\"event\":\"converted\",\"output\":\"$destination/movie.mov\"}"
PROGRAM
chmod +x "$folder/program"

# The fault, and the words that have to be said of it.
declare -A faults=(
  [dropped]="49 pictures, expected 50"
  [repeated]="pictures at 0.80 s show what is 40 ms earlier"
  [swapped]="fields are bff by the pictures, the movie says t"
  [unclaimed]="expected fields, top first"
  [shifted]="sound is +60 ms off the pictures"
  [hole]="sound is not that of the source"
  [shortSound]="sound ends 0.7"
  [mute]="no sound"
  [matrix]="says primaries and matrix bt709/bt709, expected"
  [range]="colours differ"
  [shape]="wide by 1, the source 1.333, and there are no bars"
  [cut]="30 pictures, expected 50"
)
"$root/scripts/makeClips" "$folder" fields-320x240.avi
mkdir "$folder/clips"
for name in right "${!faults[@]}"; do
  ln "$folder/fields-320x240.avi" "$folder/clips/$name.avi"
done
status=0
"$root/scripts/checkClips" --program "$folder/program" --target aic "$folder/clips" \
  >"$folder/table" || status=$?
cat "$folder/table"
[ "$status" -eq 1 ] || {
  echo "the exit status is $status"
  exit 1
}
failed=0
grep -q '^right.avi .*MB  ok' "$folder/table" || {
  echo "not ok: what is right"
  failed=1
}
for name in "${!faults[@]}"; do
  grep -q "^$name.avi .*WRONG: .*${faults[$name]}" "$folder/table" || {
    echo "not seen: $name"
    failed=1
  }
done

ln -s "$(command -v ffmpeg)" "$folder/same"
ln -s "$(command -v ffmpeg)" "$folder/dropped"
status=0
"$root/scripts/tryFfmpegs" --json --program "$folder/program" --target aic \
  "$folder/clips/right.avi" "$folder/same" "$folder/dropped" >"$folder/table" || status=$?
if [ "$status" -ne 1 ] || [ "$(grep -c '"ok": true' "$folder/table")" -ne 4 ] ||
  [ "$(grep -c '"ok": false.*pictures: 49, else 50' "$folder/table")" -ne 2 ]; then
  echo "tryFfmpegs, status $status:"
  cat "$folder/table"
  failed=1
fi
exit "$failed"
