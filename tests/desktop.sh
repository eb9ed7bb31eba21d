#!/bin/bash
# The window as its user has it: on a screen of its own with a window manager, with a real pointer
# and real drags from and to another program, or with keys alone.
#   desktop.sh pointer|keys ROOT BUILD
# It waits for what the program shows (desktop/tellWidgets.cpp), never for a time. Exit status 77:
# there is no such desktop here.
set -euo pipefail
way=$1
build=$3
# shellcheck source=scripts/tell.sh
. "$2/scripts/tell.sh"
for program in Xvfb openbox xdotool; do
  command -v "$program" >/dev/null || {
    echo "skipped: no $program"
    exit 77
  }
done

folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
children=()
atEnd() {
  local status=$?
  [ "$status" -eq 0 ] || cat "$folder/seen" "$folder/err" || true
  [ ${#children[@]} -eq 0 ] || kill "${children[@]}" 2>/dev/null || true
  wait
  rm -rf "$folder"
}
trap atEnd EXIT
mkdir -p "$folder"/{home,temporary,runtime,card,bin}
chmod 700 "$folder/runtime"
export HOME="$folder/home" TMPDIR="$folder/temporary" XDG_RUNTIME_DIR="$folder/runtime" LC_ALL=C.UTF-8
export QT_QPA_PLATFORM=xcb QT_QPA_PLATFORMTHEME='' QT_IM_MODULE='' DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
unset XDG_CONFIG_HOME XDG_CACHE_HOME XDG_STATE_HOME WAYLAND_DISPLAY QT_SCALE_FACTOR

# Nothing but names are to be seen of file managers and players.
printf '#!/bin/sh\necho "$@" >>"%s/opened"\n' "$folder" >"$folder/bin/xdg-open"
# A clip whose conversion never comes to its end while there is this file.
ffmpeg=$(command -v ffmpeg)
cat >"$folder/bin/slowFfmpeg" <<END
#!/bin/sh
case " \$* " in */c.mts*) [ ! -e "$folder/slow" ] || exec sleep 600 ;; esac
exec $ffmpeg "\$@"
END
chmod +x "$folder"/bin/*
export TESSARIN_FFMPEG="$folder/bin/slowFfmpeg" PATH="$folder/bin:$PATH"
for clip in a b c; do
  ffmpeg -nostdin -v error -f lavfi -i testsrc2=s=1280x720:r=25:d=0.4 -f lavfi -i sine=d=0.4 -c:v libx264 \
    -preset ultrafast -pix_fmt yuv420p -c:a ac3 "$folder/card/$clip.mts"
done
card="$folder/card"
movies="$HOME/Movies/Tessarin"
tab=$'\t'

# ---- The desktop

Xvfb -displayfd 3 -screen 0 1700x1000x24 -nolisten tcp 3>"$folder/display" 2>/dev/null &
children+=($!)
until [ -s "$folder/display" ]; do sleep 0.05; done
DISPLAY=:$(cat "$folder/display")
export DISPLAY
openbox --sm-disable >/dev/null 2>&1 &
children+=($!)

# telling FILE PROGRAM...: runs it, and the file tells what its windows show. The library's folder is
# named apart, as LD_PRELOAD knows no names with blanks.
telling() {
  exec env TELL_WIDGETS="$1" LD_LIBRARY_PATH="$build/tests" LD_PRELOAD=tellWidgets.so "${@:2}"
}
start() {
  rm -f "$folder/seen"
  telling "$folder/seen" "$build/bin/tessarin-gui" "$@" >"$folder/out" 2>"$folder/err" &
  window=$!
  children+=("$window")
}

# waitFor COMMAND...: until it holds.
waitFor() {
  local limit=$((SECONDS + 40))
  until "$@"; do
    [ "$SECONDS" -lt "$limit" ] || fail "in vain waited for: $*"
    sleep 0.1
  done
}
# shows PATTERN: a line of what is to be seen matches, and is kept in "found". Two looks have to find
# the same: what moves is no place to point at.
isSteady() {
  local before=$found
  found=$(grep -m 1 -P "$1" "$folder/seen" 2>/dev/null) && [ "$found" = "$before" ]
}
found=''
shows() {
  found=''
  waitFor isSteady "$1"
}
isGone() { ! grep -qP "$1" "$folder/seen"; }
showsNot() { waitFor isGone "$1"; }
# Patterns of a row (NUMBER CLIP), of its state (NUMBER WORD), of a menu's entry that can be chosen.
row() { printf '%s' "^cell\\.$1\\.2\\t.*\\t$2\\.mts"; }
state() { printf '%s' "^cell\\.$1\\.0\\t.*\\t$(($1 + 1)) $2"; }
entry() { printf '%s' "^entry(\\t\\d+){4}\\t\\t$1"; }
hasEnded() { ! kill -0 "$window" 2>/dev/null; }
ends() {
  local status=0
  waitFor hasEnded
  wait "$window" || status=$?
  [ "$status" -eq 0 ] || fail "the window ended with status $status: $(tail -n 5 "$folder/err")"
}
# Apple Intermediate Codec has the time before its names.
exists() { [ -s "$(find "$movies" -name "*$1.mov")" ] || fail "there is no movie of $1 among $(ls "$movies")"; }
key() { xdotool key --clearmodifiers "$@"; }

# ---- The pointer

# place PATTERN|@X,Y [SHARE]: sets x and y to the middle, or to this share of the width in per cent.
place() {
  local width _
  if [[ $1 == @* ]]; then
    IFS=, read -r x y <<<"${1#@}"
    return
  fi
  shows "$1"
  IFS=$tab read -r _ x y width _ <<<"$found"
  x=$((x - width / 2 + width * ${2:-50} / 100))
}
press() {
  place "$@"
  xdotool mousemove "$x" "$y" click 1
}
menu() {
  for title in "$@"; do
    press "$(entry "$title")"
  done
}
# drag FROM TO: so slowly that both programs can follow.
drag() {
  local toX toY step
  place "$2"
  toX=$x toY=$y
  place "$1" 30
  xdotool mousemove "$x" "$y" mousedown 1
  for step in 1 2 3 4 5 6 7 8 9 10; do
    xdotool mousemove $((x + (toX - x) * step / 10)) $((y + (toY - y) * step / 10)) sleep 0.05
  done
  xdotool mousemove $((toX + 1)) "$toY" sleep 0.3 mouseup 1
}

withPointer() {
  telling "$folder/partner" "$build/tests/dragPartner" \
    1480 700 "$card/a.mts" "$card/b.mts" "$card/c.mts" >"$folder/dropped" 2>"$folder/err" &
  children+=($!)
  waitFor grep -q partner "$folder/partner"
  local x y partner
  IFS=$tab read -r _ x y _ <"$folder/partner"
  partner=@$x,$y
  start -qwindowgeometry +20+40
  press '^assistantLeave'
  showsNot '^assistantLeave'

  say "clips come by a drag, are chosen for, moved and brought back"
  drag "$partner" '^dropView'
  shows "$(state 2 Waiting)"
  press '^cell\.0\.3' 57 # the second of three segments
  shows '^cell\.0\.3\t.*\tAIC$'
  drag "$(row 2 c)" "$(row 0 a)"
  shows "$(row 0 c)"
  menu Conversion 'Undo'
  shows "$(row 2 c)"
  press "$(row 1 b)"
  menu Conversion 'Remove$'
  shows "$(row 1 c)"
  menu Conversion 'Undo'
  shows "$(row 1 b)"

  say "two of them are converted, and the third is stopped"
  touch "$folder/slow"
  press '^start'
  shows "$(state 2 'Being converted')"
  shows "$(state 0 Converted)"
  shows "$(state 1 Converted)"
  press '^button\t.*\tStop$'
  shows "$(state 2 'Not converted')"
  exists a
  exists b
  local left
  left=$(find "$movies" -name '*c.mov' -o -name '.tessarin-*')
  [ -z "$left" ] || fail "the stop left $left"
  [ ! -e "$folder/opened" ] || fail "the stop showed a folder"

  say "a movie is dragged to another program"
  drag "$(row 0 a)" "$partner"
  waitFor grep -q "^$movies/.*a\.mov$" "$folder/dropped"
  menu File Quit
  ends

  say "the next start has the list, and what was left is converted"
  rm "$folder/slow"
  start -qwindowgeometry +20+40
  press '^button\t.*\tOpen the List'
  shows "$(state 2 'Not converted')"
  shows "$(state 0 Converted)"
  press '^start'
  shows '^question\t.*ended'
  press '^button\t.*\tOK'
  showsNot '^question'
  exists c
  shows '^summary\t.*\t3 converted'
  waitFor grep -qs "$movies" "$folder/opened" # the folder is shown
  press "$(row 0 a)"
  shows '^cell\.0\.\d\t.*focus'
  key alt+F4
  ends
}

# ---- The keys

# Wherever the keys are, Tab leads there.
isInList() { grep -q $'^batch\t.*\tfocus\t' "$folder/seen" || { key Tab && false; }; }

withKeys() {
  start
  shows '^assistantNext.*\tfocus'
  key Escape
  showsNot '^assistantNext'

  say "clips are opened, chosen for, moved, looked at"
  key ctrl+o
  shows '^fileNameEdit.*\tfocus'
  xdotool type --delay 20 "\"$card/a.mts\" \"$card/b.mts\" \"$card/c.mts\""
  key Return
  shows "$(state 2 Waiting)"
  waitFor isInList
  key Home Right Right Right
  shows '^cell\.0\.3\t.*focus'
  key 2
  shows '^cell\.0\.3\t.*\tAIC$'
  key ctrl+z
  shows '^cell\.0\.3\t.*\tProRes$'
  key End
  shows '^cell\.2\.3\t.*focus'
  key alt+Up
  shows "$(row 1 c)"
  key alt+Down
  shows "$(row 2 c)"
  key F3
  shows '^details\t.*\tc.mts\|'
  key ctrl+i
  shows '^-\t.*\d  examined'
  key Escape
  showsNot '^-\t.*\d  examined'
  key Delete
  showsNot "$(row 2 c)"
  key ctrl+z
  shows "$(row 2 c)"

  say "a conversion is paused and stopped"
  touch "$folder/slow"
  key ctrl+Return
  shows "$(state 2 'Being converted')"
  key ctrl+p
  shows '^action\t.*\tPaused'
  key ctrl+p
  shows '^action\t.*\tConverting'
  shows "$(state 0 Converted)"
  shows "$(state 1 Converted)"
  key ctrl+period
  shows "$(state 2 'Not converted')"
  exists a
  exists b
  key ctrl+q
  ends

  say "the next start has the list"
  rm "$folder/slow"
  start
  shows '^button\t.*focus.*\tOpen the List'
  key Return
  shows "$(state 2 'Not converted')"
  key ctrl+Return
  shows '^button\t.*focus.*\tOK'
  key Return
  exists c
  showsNot '^question'
  key alt+h
  shows "$(entry 'About')"
  key Escape ctrl+q
  ends
}

case $way in
  pointer) withPointer ;;
  keys) withKeys ;;
  *) fail "pointer or keys" ;;
esac
