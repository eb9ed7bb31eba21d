#!/bin/bash
# The scripts of the checkout: none may end without a sentence, and what is asked of a system that
# has never heard of a package is answered.
set -euo pipefail
root=$1
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
folder=$(mktemp -d "${TMPDIR:-/tmp}/tessarin-test-XXXXXX")
trap 'rm -rf "$folder"' EXIT
failed=0

# expect NAME STATUS SAID SCRIPT: the script, given as text, ends with that status, and what it says,
# all of it, matches the pattern.
expect() {
  local status=0 said
  printf '%s\n' "root='$folder/checkout'" ". '$root/scripts/setup.sh'" "$4" >"$folder/checkout/try"
  said=$(PATH="$folder/bin:$PATH" bash "$folder/checkout/try" 2>&1) || status=$?
  # shellcheck disable=SC2053 # a pattern
  if [ "$status" -ne "$2" ] || [[ $said != $3 ]]; then
    echo "$1: status $status, and this is said: $said" >&2
    failed=1
  fi
}

# A dpkg-query that has heard of the first package only, or cannot answer.
mkdir "$folder/bin" "$folder/checkout"
cp -R "$root/scripts" "$folder/checkout"
cat >"$folder/bin/dpkg-query" <<'END'
#!/bin/sh
[ ! -e "$0.broken" ] || exit 2
echo "installed known "
exit 1
END
chmod +x "$folder/bin/dpkg-query"
expect "unknown package" 0 "unknown" 'readInstalledPackages known unknown
  missingPackages known unknown'
touch "$folder/bin/dpkg-query.broken"
expect "no list of packages" 1 "try: dpkg-query cannot tell*" 'readInstalledPackages known'

# shellcheck disable=SC2016 # for the script
expect "a command in a pipe in a substitution" 3 \
  "try: ended here: $folder/checkout/try, line 5: text=\$(sh -c \"exit 3\" | cat) (status 3)" \
  'search() {
    local text
    text=$(sh -c "exit 3" | cat)
  }
  search'
expect "in a subshell, told once" 1 "try: ended here: *" '(cd /; false); echo on'
expect "what is taken care of" 0 "on" 'if false | cat; then echo no; fi; false || echo on'
expect "a reason of its own, told once" 1 "try: because" 'fail "because"'
expect "a status that is an answer" 7 "" 'passOn sh -c "exit 7"'
expect "a step" 1 $'try: trying\nfrom the command\ntry: failed: trying (*/build/log/a.log)' \
  'step a trying sh -c "echo from the command; exit 4"'
expect "a step that gives a reason" 1 $'try: trying\ntry: because\ntry: failed: trying (*' \
  'step a trying fail because'

# A source that clang-tidy (here one that looks for a word) found to be clean is passed over until
# something that it would see changes, and one that is not clean never.
tidied() {
  local status=0
  printf "$folder/checkout/src/%s.cpp\n" "${@:3}" |
    PATH="$folder/bin:$PATH" XDG_CACHE_HOME="$folder" "$folder/checkout/scripts/tidy" "$folder/build" \
      >/dev/null || status=$?
  if [ "$status" -ne "$1" ] || [ "$(wc -l <"$folder/calls")" -ne "$2" ]; then
    echo "tidy ${*:3}: status $status, calls so far: $(cat "$folder/calls")" >&2
    failed=1
  fi
}
if command -v python3 >/dev/null; then
  mkdir "$folder/checkout/src" "$folder/build"
  cat >"$folder/bin/clang-tidy" <<END
#!/bin/sh
[ "\$1" != --version ] || exit 0
for source; do :; done
echo "\$source" >>"$folder/calls"
! grep -n wrong "\$source"
END
  chmod +x "$folder/bin/clang-tidy"
  echo "Checks: all" >"$folder/checkout/.clang-tidy"
  echo "int number;" >"$folder/checkout/src/a b.h"
  for name in right wrong; do
    path=$folder/checkout/src/$name.cpp
    printf '#include "a b.h"\nint %s = number;\n' "$name" >"$path"
    printf '{"directory": "%s", "command": "c++ -o x.o -c '"'%s'"'", "file": "%s"}\n' "$folder" "$path" \
      "$path"
  done | paste -sd, | sed 's/.*/[&]/' >"$folder/build/compile_commands.json"
  tidied 1 2 right wrong
  tidied 1 3 right wrong
  echo "// changed" >>"$folder/checkout/src/a b.h"
  tidied 0 4 right
  echo "# changed" >>"$folder/checkout/.clang-tidy"
  tidied 0 5 right
  tidied 0 5 right
fi

# All scripts have what does this; those that are installed, which have no checkout, a trap.
mapfile -t scripts < <(find "$root" \( -path "$root/build" -o -path "$root/.git" \) -prune -o \
  -type f -exec grep -lE -m 1 '^#!/.*sh$' {} + | sort)
[ ${#scripts[@]} -ge 10 ] || fail "the search for scripts finds only: ${scripts[*]}"
for script in "${scripts[@]}"; do
  grep -qE '^\. .*(scripts/(tell|setup)|/support|/parts)\.sh"?$|^trap .* ERR$' "$script" ||
    { echo "$script may end without a word: it does not source scripts/tell.sh" >&2; failed=1; }
done
exit $failed
