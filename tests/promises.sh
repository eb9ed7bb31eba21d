#!/bin/bash
# Whether every test that docs/security.md names is there.
#   promises.sh ROOT
set -euo pipefail
# shellcheck source=scripts/tell.sh
. "$1/scripts/tell.sh"
cd "$1"
# shellcheck disable=SC2016 # the marks are the text's
mapfile -t named < <(grep -oE '`[A-Z][A-Za-z]+\.[A-Za-z0-9]+`' docs/security.md | tr -d '`' | sort -u)
[ ${#named[@]} -ge 20 ] || fail "docs/security.md names only ${#named[@]} tests"
for test in "${named[@]}"; do
  grep -rqE "^TEST(_F|_P)?\(${test%.*}, ${test#*.}\)" tests ||
    fail "docs/security.md names $test, and there is no such test"
done
