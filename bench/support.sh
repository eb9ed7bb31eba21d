# shellcheck shell=bash
# What the scripts here share; sourced by them. Sets root, the source tree, and work, a folder that
# goes at the end.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

median() { sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }
# ratio A B
ratio() { echo "$1 $2" | awk '{ printf "%.3f", $1 / $2 }'; }
# figure NAME VALUE more|less: one for bench/all, and whether more is better.
figure() { [ -z "${FIGURES-}" ] || printf '%s\t%s\t%s\n' "$@" >>"$FIGURES"; }
# times COMMAND...: real and processor seconds, its children included.
times() {
  { TIMEFORMAT='%R %U %S'; time "$@"; } 2>&1 | awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }'
}
