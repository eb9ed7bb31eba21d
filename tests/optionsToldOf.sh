#!/bin/bash
# The manual and the completions have to name every option that "tessarin --help" names, with every
# value that it takes, and no others.
set -euo pipefail
root=$1
# shellcheck source=scripts/tell.sh
. "$root/scripts/tell.sh"
program=$2
failed=0

complain() {
  echo "$*" >&2
  failed=1
}

help=$("$program" --help)
mapfile -t options < <(grep -oE '^ +(-[a-zA-Z],)?--[a-z-]+' <<<"$help" | grep -oE -e '-[-a-zA-Z]+')
[ ${#options[@]} -ge 15 ] || complain "the search of --help finds only: ${options[*]}"
mapfile -t values < <(sed -nE 's/^ +--[a-z]+ ([a-z0-9]+(\|[a-zA-Z0-9]+)+).*/\1/p' <<<"$help" |
  tr '|' '\n' | grep -vE '^(SIZE|N)$')
# --help does not name all sizes, the complaint about a wrong one does.
mapfile -t sizes < <("$program" --size wrong x 2>&1 | grep -oE '\b(hdv)?[0-9]+[pi][0-9]+\b' | sort)
[ ${#sizes[@]} -ge 20 ] || complain "the search of sizes finds only: ${sizes[*]}"

completions=(tessarin.bash _tessarin tessarin.fish)
for option in "${options[@]}"; do
  escaped=${option//-/\\-}
  grep -qF -- "$escaped" "$root/packaging/man/tessarin.1" ||
    complain "tessarin(1) does not tell of $option"
  grep -qE -- "(^|[^a-z-])$option([^a-z-]|\$)" "$root/packaging/completions/tessarin.bash" ||
    complain "tessarin.bash does not know $option"
  grep -qE -- "(^|[^a-z-])$option([^a-z-]|\$)" "$root/packaging/completions/_tessarin" ||
    complain "_tessarin does not know $option"
  letter='-l'
  [[ $option == --* ]] || letter='-s'
  grep -qE -- " $letter ${option##*-}( |\$)| $letter ${option#--}( |\$)" \
    "$root/packaging/completions/tessarin.fish" || complain "tessarin.fish does not know $option"
done
for value in "${values[@]}" "${sizes[@]}"; do
  for file in "${completions[@]}"; do
    grep -qE "\b$value\b" "$root/packaging/completions/$file" ||
      complain "$file does not know the value $value"
  done
done

# complete WORD...: what bash offers for the last word behind the program's name.
complete() {
  bash -c '
    source "$1"; shift
    COMP_WORDS=(tessarin "$@"); COMP_CWORD=$#; COMPREPLY=(); _tessarin
    printf "%s\n" "${COMPREPLY[@]}"' bash "$root/packaging/completions/tessarin.bash" "$@"
}

mapfile -t offered < <(complete --size "" | grep -vE '^(auto|same)$' | sort)
[ "${offered[*]}" = "${sizes[*]}" ] || complain "bash offers these sizes: ${offered[*]}"
[ "$(complete --format = p)" = prores ] || complain "bash does not complete --format=p"
[ "$(complete --json --ov)" = --overwrite ] || complain "bash does not complete --ov"
[[ $(complete an) == *analyse* ]] || complain "bash does not complete a command"
exit $failed
