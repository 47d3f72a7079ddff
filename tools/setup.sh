#!/usr/bin/env bash
# Installs from Debian's packages whatever the build, the tests and the benchmarks need.
# It asks dpkg first, so a second run installs nothing and costs well under a second.
set -euo pipefail

packages=(
  # build and unit tests
  cmake ninja-build g++ make libgtest-dev libgmock-dev libbenchmark-dev
  zlib1g-dev libbz2-dev libdeflate-dev
  # Windows builds, run under Wine
  mingw-w64 libz-mingw-w64-dev wine wine64 xvfb xauth imagemagick
  # peers for interop tests
  zip unzip p7zip-full ncompress sharutils bzip2 gzip tar arj jlha-utils arc python3
  # fuzzing (make fuzz): clang and its libFuzzer runtime
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}" >&2
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
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
