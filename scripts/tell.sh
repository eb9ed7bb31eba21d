# shellcheck shell=bash
# How scripts speak, and why none of them ends without a word. Sourced by all of them, by bash.
# Everything is said on standard error: standard output belongs to what they run.
#
# Behind this a command that fails ends the script, as "set -e" has it, and a sentence says where.
# fail() has said its own. In a subshell nothing is said, because the command of the script that the
# subshell is part of fails next. What must not end the script stands in an if, or before "||".

set -Eeuo pipefail

say() {
  echo "$(basename "$0"): $*" >&2
}

fail() {
  say "$*"
  exit 1
}

# passOn PROGRAM...: ends with the program's status, without a word, when that is not 0. For those
# whose status is an answer, and who have said the rest themselves.
passOn() {
  "$@" || exit $?
}

# tellFailure STATUS FILE LINE COMMAND: called by the trap below.
tellFailure() {
  if [ "$BASH_SUBSHELL" -eq 0 ]; then
    say "ended here: ${2#./}, line $3: ${4%%$'\n'*} (status $1)"
  fi
}
trap 'tellFailure $? "${BASH_SOURCE[0]-$0}" "$LINENO" "$BASH_COMMAND"' ERR
