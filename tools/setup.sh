#!/usr/bin/env bash
# Installs from Debian's packages whatever the build, the tests and the benchmarks need.
# It asks dpkg first, so a second run installs nothing and costs well under a second.
set -euo pipefail

packages=(
  # build and unit tests
  cmake ninja-build g++ make libgtest-dev libgmock-dev libbenchmark-dev
  zlib1g-dev libbz2-dev libdeflate-dev
  # Windows builds, run under Wine
  mingw-w64 libz-mingw-w64-dev wine wine64
  # libarchive; the 32-bit build (make test-32); apt-get source for third_party/build.sh
  libarchive-dev g++-multilib lib32z1-dev dpkg-dev
  # peers for interop tests
  zip unzip p7zip-full ncompress sharutils bzip2 gzip tar arj jlha-utils arc python3
  # MIME messages made and taken apart by a real mailer's tools
  mpack
  # fuzzing (make fuzz): clang and its libFuzzer runtime
  clang libclang-rt-14-dev
)
# `tools/setup.sh dialogs` (make dialogs) adds a virtual display and the screenshot tools.
[ "${1:-}" = dialogs ] && packages+=(xvfb xauth imagemagick)

# On a CI machine, which is thrown away afterwards, dpkg need not sync each file
# it unpacks, and man-db need not index the new manual pages.
apt_options=()
if [ -n "${CI:-}" ]; then
  apt_options=(-o Dpkg::Options::=--force-unsafe-io -o Dpkg::Use-Pty=0)
fi

# Debian's source packages, from which third_party/build.sh builds the libraries
# of the Windows and 32-bit builds: deb-src entries for the system's own
# deb entries, added once.
update_sources=""
if ! apt-get indextargets --format '$(IDENTIFIER)' 2>/dev/null | grep -qx Sources; then
  echo "setup: adding Debian's source packages to apt" >&2
  as_root=""
  [ "$(id -u)" -ne 0 ] && as_root="sudo"
  if [ -f /etc/apt/sources.list.d/debian.sources ]; then
    sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources |
      $as_root tee /etc/apt/sources.list.d/cratewerk-src.sources >/dev/null
  else
    grep -h '^deb ' /etc/apt/sources.list | sed 's/^deb /deb-src /' |
      $as_root tee /etc/apt/sources.list.d/cratewerk-src.list >/dev/null
  fi
  update_sources=1
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ] || [ -n "$update_sources" ]; then
  echo "setup: installing ${missing[*]:-nothing new}" >&2
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  if [ -n "${CI:-}" ] && [ ${#missing[@]} -gt 0 ]; then
    echo 'man-db man-db/auto-update boolean false' | $sudo_cmd debconf-set-selections 2>/dev/null || true
    $sudo_cmd rm -f /var/lib/man-db/auto-update
  fi
  [ ${#missing[@]} -eq 0 ] || $sudo_cmd apt-get install -y -qq --no-install-recommends "${apt_options[@]}" "${missing[@]}" >/dev/null
fi

# A Wine prefix, prepared once and quietly, for the x86_64 Windows tests.
if command -v wine64 >/dev/null 2>&1 || [ -x /usr/lib/wine/wine64 ]; then
  export WINEPREFIX="${WINEPREFIX:-$HOME/.wine-cratewerk}"
  export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  if [ ! -f "$WINEPREFIX/system.reg" ]; then
    echo "setup: preparing the Wine prefix $WINEPREFIX" >&2
    wineboot_cmd=$(command -v wineboot || echo /usr/lib/wine/wineboot)
    "$wineboot_cmd" -i >/dev/null 2>&1 || true
    wineserver -w 2>/dev/null || /usr/lib/wine/wineserver -w 2>/dev/null || true
  fi
fi
exit 0
