# shellcheck shell=bash
# What .ci/run and .ci/night share. Sourced; needs "root", the folder of the checkout.
: "${root:?}"
cd "$root" || exit
# shellcheck source=scripts/setup.sh
. "$root/scripts/setup.sh"
export DEBIAN_FRONTEND=noninteractive
summary=()

# part NAME COMMAND...: says how long it took, and which tests passed at the second try only.
part() {
  local log="$root/build/log/ci.log" began=$SECONDS status=0
  mkdir -p "$root/build/log"
  "${@:2}" 2>&1 | tee "$log" || status=$?
  summary+=("$1: $((SECONDS - began)) s")
  if [ "$status" -eq 0 ]; then
    mapfile -t -O ${#summary[@]} summary < <(sed -nE \
      '/\*Skipped/d; s/^.*Test +#[0-9]+: (.*[^ .]) \.*\*\*\*([A-Z].*[a-z]) .*/  at the second try only (\2): \1/p' "$log")
  fi
  printf '%s\n' "${summary[@]}" >&2
  [ "$status" -eq 0 ] || exit "$status"
}

# fuzz SECONDS: each harness.
fuzz() {
  if ! (installPackages "${fuzzPackages[@]}"); then
    say "fuzz/run was not tried: there is no clang (see above)"
    return
  fi
  fuzz/run "$1"
}
