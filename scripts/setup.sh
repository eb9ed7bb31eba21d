# shellcheck shell=bash
# What ./run, ./test and .ci/run share. Sourced by bash scripts; needs "root", the folder of the
# checkout.

: "${root:?}"
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"

# readProgress LINE: sets "progress" when the line says how far its writer is, as ninja's counts and
# apt's per cent do.
readProgress() {
  if [[ $1 =~ ^\[([0-9]+)/([0-9]+)\]\  ]]; then
    progress="${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}"
  elif [[ $1 =~ ^(dl|pm)status:.*:([0-9]+)[0-9.]*:[^:]*$ ]]; then
    progress="${BASH_REMATCH[2]} %"
    [ "${BASH_REMATCH[1]}" = pm ] || progress+=" fetched"
  fi
}

# follow WORD: copies standard input and tells how far its writer is: on a terminal in one line that
# changes, elsewhere by a line now and then.
follow() {
  local line part='' progress='' status told=$SECONDS began=$SECONDS terminal=''
  if [ -t 2 ] && [ "${TERM-dumb}" != dumb ]; then
    terminal=yes
  fi
  while true; do
    status=0
    IFS= read -r -t 5 line || status=$?
    part+=$line
    if [ "$status" -eq 0 ]; then
      printf '%s\n' "$part"
      readProgress "$part"
      part=
    elif [ "$status" -le 128 ]; then
      printf '%s' "$part"
      break
    fi
    if [ -n "$terminal" ]; then
      printf '\r%s\033[K' "$1: ${progress:-$((SECONDS - began)) s}" >&2
    elif [ $((SECONDS - told)) -ge 20 ]; then
      told=$SECONDS
      say "$1: ${progress:+$progress, }$((SECONDS - began)) s"
    fi
  done
  [ -z "$terminal" ] || printf '\r\033[K' >&2
}

# step NAME TEXT COMMAND...: says the text and runs the command in a subshell with its output in a
# log file, the end of which is shown when the command fails. "set -e" does not work inside the
# command.
step() {
  local log="$root/build/log/$1.log" text=$2 status=0
  shift 2
  say "$text"
  mkdir -p "$root/build/log" || fail "this folder has to be writable: $root"
  ("$@") 2>&1 </dev/null | follow "${text%% *}" >"$log" || status=$?
  if [ "$status" -ne 0 ]; then
    tail -n 100 "$log" >&2
    fail "failed: $text (all of it in $log)"
  fi
}

# configure PRESET [OPTION]: when that was not done yet, or the presets are newer, or the option is
# not switched on there, which is done then.
configure() {
  local build="$root/build/$1"
  if [ ! -e "$build/build.ninja" ] || [ "$root/CMakePresets.json" -nt "$build/build.ninja" ] ||
    { [ -n "${2-}" ] && ! grep -q "^$2:BOOL=ON$" "$build/CMakeCache.txt"; }; then
    step "configure-$1" "configuring build/$1" runCmake "$@"
  fi
}

# runCmake PRESET [OPTION]: what was not configured to the end must not be built.
runCmake() {
  cmake -S "$root" --preset "$1" ${2:+"-D$2=ON"} || { rm -f "$root/build/$1/build.ninja" && false; }
}

# build PRESET TARGET [OPTION]: configures, with the option switched on, and builds.
build() {
  configure "$1" ${3:+"$3"}
  step "build-$1" "building build/$1" cmake --build "$root/build/$1" --target "$2"
}

# buildWhenNewer PRESET TARGET [OPTION]: builds unless nothing in the sources changed since that was
# last done.
buildWhenNewer() {
  local stamp="$root/build/$1/.built-$2"
  if [ -e "$stamp" ] && [ -z "$(find "$root"/src "$root"/resources "$root"/cmake \
    "$root"/CMakeLists.txt "$root"/CMakePresets.json -newer "$stamp" -print -quit)" ]; then
    return
  fi
  mkdir -p "$root/build/$1" || fail "this folder has to be writable: $root"
  touch "$stamp.started" # what changes while the build runs is newer than this
  build "$@"
  mv "$stamp.started" "$stamp"
}

# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
