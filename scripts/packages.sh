# shellcheck shell=bash disable=SC2034 # the lists are used by those who source this
# Debian's packages that Tessarin needs, and installing those that are missing. Sourced by
# setup.sh.

# What the command line is made of, what the window needs besides, and what the tests.
buildPackages=(g++ cmake ninja-build ccache pkg-config libfmt-dev libcli11-dev libplist-dev
  libpugixml-dev libturbojpeg0-dev nlohmann-json3-dev)
windowPackages=(libarchive-dev qt6-base-dev qt6-svg-dev)
testPackages=(libgtest-dev libgmock-dev)
allPackages=("${buildPackages[@]}" "${windowPackages[@]}" "${testPackages[@]}")
runPackages=(ffmpeg file)
screenshotPackages=(xvfb xauth)
benchPackages=(libbenchmark-dev hyperfine time)
# The clang that searches for inputs, with its library.
fuzzPackages=(clang libclang-rt-14-dev)
coveragePackages=(llvm)
analysisPackages=(clang-tidy clang-format shellcheck)
# What tests check the desktop files, what is asked of the desktop, and the window on a desktop with,
# when it is there.
desktopPackages=(desktop-file-utils appstream dbus-daemon xvfb openbox xdotool)

# missingPackages NAME...: prints those that are not installed.
missingPackages() {
  local name
  for name in "$@"; do
    case $installedPackages in
      *" $name "*) ;;
      *) echo "$name" ;;
    esac
  done
}

# readInstalledPackages NAME...: asks once about all of them.
readInstalledPackages() {
  local states status=0
  # shellcheck disable=SC2016 # the dollar signs are dpkg-query's
  states=$(dpkg-query -W -f='${db:Status-Status} ${Package} \n' "$@" 2>/dev/null) || status=$?
  # 1: there are names among them that this system has never heard of, as on every new one.
  [ "$status" -le 1 ] || fail "dpkg-query cannot tell which packages are installed (status $status)"
  installedPackages=" $(sed -n 's/^installed //p' <<<"$states" | tr -d '\n')"
}

# aptInstall NAME...: first with the package lists that are there, then with new ones. It waits for
# another run of apt, such as a new system's own, and tells how far it is.
aptInstall() {
  local -a rights=()
  if [ "$(id -u)" -ne 0 ]; then
    rights=(sudo)
  fi
  local -a apt=("${rights[@]}" env DEBIAN_FRONTEND=noninteractive
    apt-get -y -o DPkg::Lock::Timeout=300 -o APT::Status-Fd=1)
  local -a install=("${apt[@]}" install --no-install-recommends "$@")
  # Lists that cannot be fetched are a failure here: the reason is told, not what comes of it.
  "${install[@]}" || { "${apt[@]}" -o APT::Update::Error-Mode=any update && "${install[@]}"; }
}

# installPackages NAME...: installs what is missing of these packages; does nothing and asks
# nothing when all are there.
installPackages() {
  if ! command -v dpkg-query >/dev/null; then
    say "this is no Debian system: these packages' equivalents have to be there: $*"
    return
  fi
  readInstalledPackages "$@"
  local -a missing
  mapfile -t missing < <(missingPackages "$@")
  if [ ${#missing[@]} -eq 0 ]; then
    return
  fi
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      fail "these packages are missing; install them as root: apt-get install ${missing[*]}"
    fi
    say "sudo is going to be asked for the right to install ${missing[*]}"
    # The question must be seen, so it comes before the output goes to a file.
    sudo -v || fail "not installed: ${missing[*]}"
  fi
  step install "installing ${missing[*]}" aptInstall "${missing[@]}"
}
