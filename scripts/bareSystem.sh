# shellcheck shell=bash
# What makes a new Debian that has nothing in it yet. Sourced, behind tell.sh.

# FROM=TO: a folder of this system, and where it is seen in the bare one.
shared=()

# makeBareSystem VARIANT TARGET [OPTION...]: by mmdebstrap, of the release that runs here and from
# this system's own package source. TARGET is a folder, or "-" with an option that says more.
makeBareSystem() {
  local source=/etc/apt/sources.list.d/debian.sources release
  [ -e "$source" ] || source=/etc/apt/sources.list
  release=$(. /etc/os-release && echo "$VERSION_CODENAME")
  mmdebstrap --quiet --variant="$1" "${@:3}" "$release" "$2" "$source"
}

# inBareSystem FOLDER COMMAND...: runs it as root in the system in the folder, with this one's
# network and what "shared" names. What is mounted is so only for the command, and goes with it even
# if that is killed, so that nobody who removes the folder removes what was shared. Whoever is asked
# to end meanwhile calls endBareSystem: the command itself would not hear it.
inBareSystem() {
  local folder=$1 each
  local -a mounts=()
  for each in "${shared[@]}"; do
    mkdir -p "$folder${each#*=}"
    mounts+=("${each%%=*}" "$folder${each#*=}")
  done
  cp /etc/hosts /etc/resolv.conf "$folder/etc"
  # shellcheck disable=SC2016 # for that shell
  unshare --mount --pid --fork --kill-child -- bash -ec '
    system=$1 pairs=$2
    shift 2
    mount --make-rprivate /
    mount -t proc proc "$system/proc"
    mount --rbind /dev "$system/dev"
    for ((pair = 0; pair < pairs; ++pair)); do
      mount --bind "$1" "$2"
      shift 2
    done
    exec chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root "$@"' \
    bash "$folder" $((${#mounts[@]} / 2)) "${mounts[@]}" "${@:2}" <&0 &
  inBare=$!
  wait "$inBare"
}

inBare=
endBareSystem() {
  [ -z "$inBare" ] || kill -KILL "$inBare" 2>/dev/null || true
  wait
}
