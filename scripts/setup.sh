# shellcheck shell=bash
# What ./run, ./test and .ci/run share. Sourced by bash scripts; needs "root", the folder of the
# checkout.

: "${root:?}"
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"

# step NAME TEXT COMMAND...: says the text and runs the command in a subshell with its output in a
# log file, the end of which is shown when the command fails. "set -e" does not work inside the
# command.
step() {
  local log="$root/build/log/$1.log" text=$2 status=0
  shift 2
  say "$text"
  mkdir -p "$root/build/log" || fail "this folder has to be writable: $root"
  ("$@") >"$log" 2>&1 </dev/null || status=$?
  if [ "$status" -ne 0 ]; then
    tail -n 100 "$log" >&2
    fail "failed: $text (all of it in $log)"
  fi
}

# configure PRESET: when that was not done yet, or the presets are newer.
configure() {
  local cache="$root/build/$1/build.ninja"
  if [ ! -e "$cache" ] || [ "$root/CMakePresets.json" -nt "$cache" ]; then
    step "configure-$1" "configuring build/$1" cmake -S "$root" --preset "$1"
  fi
}

# build PRESET TARGET: configures and builds.
build() {
  configure "$1"
  step "build-$1" "building build/$1" cmake --build "$root/build/$1" --target "$2"
}

# buildWhenNewer TARGET: builds the release preset's target unless nothing in the sources changed
# since that was last done.
buildWhenNewer() {
  local stamp="$root/build/release/.built-$1"
  if [ -e "$stamp" ] && [ -z "$(find "$root"/src "$root"/resources "$root"/cmake \
    "$root"/CMakeLists.txt "$root"/CMakePresets.json -newer "$stamp" -print -quit)" ]; then
    return
  fi
  mkdir -p "$root/build/release"
  touch "$stamp.started" # what changes while the build runs is newer than this
  build release "$1"
  mv "$stamp.started" "$stamp"
}

# shellcheck source=scripts/packages.sh
. "$root/scripts/packages.sh"
