#!/bin/bash
# Whether programs that do not read movies by ffmpeg's demuxer, or read it their own way, find in
# movies of ours what was put in: pictures, fields, size, shape, colours and sound.
#   otherPrograms.sh gst|mlt|mediainfo ROOT BUILD
# Exit status 77: the program is not there.
set -euo pipefail
reader=$1
# shellcheck source=scripts/tell.sh
. "$2/scripts/tell.sh"
tessarin=$3/bin/tessarin

case $reader in
  gst) needed=(gst-discoverer-1.0 gst-launch-1.0) ;;
  mlt) needed=(melt) ;;
  mediainfo) needed=(mediainfo) ;;
  *) fail "gst, mlt or mediainfo" ;;
esac
for program in "${needed[@]}"; do
  command -v "$program" >/dev/null || {
    echo "skipped: no $program"
    exit 77
  }
done
if [ "$reader" = gst ] && ! gst-inspect-1.0 qtdemux >/dev/null 2>&1; then
  echo "skipped: GStreamer cannot read movies (no qtdemux)"
  exit 77
fi

folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
trap 'rm -rf "$folder"' EXIT
export HOME="$folder/home" TMPDIR="$folder/temporary" LC_ALL=C
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_STATE_HOME
mkdir "$HOME" "$TMPDIR"

# Narrow pixels, fields, and colours that no program takes for granted; then what a camera writes.
# The sound ends first, so that it does not make the movie longer.
sound=(-f lavfi -i "sine=r=48000:d=0.9")
ffmpeg -nostdin -v error -f lavfi \
  -i "testsrc2=s=720x576:r=50:d=1,format=yuv420p,tinterlace=interleave_top,setfield=tff,setsar=64/45" \
  "${sound[@]}" -c:v mpeg2video -flags +ildct+ilme -top 1 -b:v 8M -c:a ac3 -ac 2 "$folder/disc.mpg"
ffmpeg -nostdin -v error -f lavfi -i "testsrc2=s=1280x720:r=50:d=1,format=yuv420p" "${sound[@]}" \
  -c:v libx264 -preset ultrafast -c:a aac -ac 2 "$folder/camera.mp4"

# movie CLIP FORMAT: makes it, and says where it is.
movie() {
  "$tessarin" --format "$2" --destination "$folder/$2" "$folder/$1" >"$folder/log" 2>&1 ||
    fail "$1 does not become $2: $(cat "$folder/log")"
  echo "$folder/$2/Tessarin/"*"${1%.*}.mov"
}

# What each program says: codec, pictures, rate, size, shape of a pixel, fields, colours, sound.
told() {
  local text caps
  case $reader in
    mediainfo)
      mediainfo --Output='Video;%CodecID% %FrameCount% %FrameRate% %Width%x%Height% %PixelAspectRatio% %ScanType%%ScanOrder% %colour_primaries%/%transfer_characteristics%/%matrix_coefficients%' "$1" | tr '\n' ' '
      mediainfo --Output='Audio;%Format% %Channels% %SamplingRate%' "$1"
      ;;
    mlt)
      text=$(melt "$1" -consumer xml 2>/dev/null)
      value() { sed -nE "s|.*$1|\\1|p" <<<"$text" | head -n 1; }
      echo "$(value '0.codec.name">([^<]*)<.*') $(value 'name="length">([^<]*)<.*')" \
        "$(value ' frame_rate_num="([0-9]*)".*')/$(value ' frame_rate_den="([0-9]*)".*')" \
        "$(value '<profile.* width="([0-9]*)".*')x$(value '<profile.* height="([0-9]*)".*')" \
        "$(value ' sample_aspect_num="([0-9]*)".*')/$(value ' sample_aspect_den="([0-9]*)".*')" \
        "progressive=$(value ' progressive="([0-9])".*') $(value ' colorspace="([0-9]*)".*')" \
        "$(value '1.codec.name">([^<]*)<.*') $(value '1.codec.channels">([^<]*)<.*')" \
        "$(value '1.codec.sample_rate">([^<]*)<.*')"
      ;;
    gst)
      text=$(gst-discoverer-1.0 -v "$1" 2>&1)
      caps=$(sed -nE 's/^ *video #1: //p' <<<"$text")
      part() { sed -nE "s|.*[ ,]$1=\\([a-z]*\\)([^,]*).*|\\1|p" <<<"$caps"; }
      echo "${caps%%,*} $(gst-launch-1.0 -v filesrc location="$1" ! qtdemux ! fakesink silent=false |
        grep -c 'last-message = chain')" \
        "$(part framerate) $(part width)x$(part height) $(part pixel-aspect-ratio)" \
        "$(part field-order) $(part colorimetry)" \
        "$(sed -nE 's/^ *audio #2: .*format=\(string\)([^,]*),.*rate=\(int\)([0-9]*), channels=\(int\)([0-9]*).*/\1 \3 \2/p' <<<"$text")"
      ;;
  esac
}

# check CLIP FORMAT GST MLT MEDIAINFO
check() {
  local path expected=$3 is
  [ "$reader" = mlt ] && expected=$4
  [ "$reader" = mediainfo ] && expected=$5
  path=$(movie "$1" "$2")
  is=$(told "$path")
  [ "$is" = "$expected" ] || fail "$2 of $1: $reader says
  $is
and not
  $expected"
}

# GStreamer 1.22 tells neither fields nor colours of a codec that it does not know.
check disc.mpg prores \
  "video/x-prores 25 25/1 720x576 64/45 top-field-first 2:4:5:3 S16LE 2 48000" \
  "prores 25 25/1 720x576 64/45 progressive=0 601 pcm_s16le 2 48000" \
  "apcn 25 25.000 720x576 1.422 InterlacedTFF BT.601 PAL/BT.709/BT.601 PCM 2 48000"
check disc.mpg aic \
  "video/x-apple-intermediate-codec 25 25/1 1440x1080 4/3   S16LE 2 48000" \
  "aic 25 25/1 1440x1080 4/3 progressive=0 709 pcm_s16le 2 48000" \
  "icod 25 25.000 1440x1080 1.333 InterlacedTFF BT.709/BT.709/BT.709 PCM 2 48000"
check camera.mp4 quicktime \
  "video/x-h264 50 50/1 1280x720 1/1  bt709 S16LE 2 48000" \
  "h264 50 50/1 1280x720 1/1 progressive=1 709 pcm_s16le 2 48000" \
  "avc1 50 50.000 1280x720 1.000 Progressive BT.709/BT.709/BT.709 PCM 2 48000"
