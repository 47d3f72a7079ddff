#!/usr/bin/env bash
# Builds the static libraries that a Windows build or the 32-bit Linux build
# links: libbz2, libdeflate and libarchive, from Debian's source packages at the
# versions in third_party/VERSIONS.
#
#   third_party/build.sh TARGET DIR
#
# TARGET is i686-w64-mingw32, x86_64-w64-mingw32 or i686-linux-gnu (g++ -m32).
# DIR is the cache, build/third_party: sources are unpacked once into DIR/src,
# and each target gets DIR/TARGET/include and DIR/TARGET/lib. When the recipe and
# the versions are unchanged since the last run, the script returns at once.
# CMake runs it while configuring a build of such a target.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
target=${1:?target}
dir=$(realpath -m "${2:?cache folder}")
prefix=$dir/$target
key=$(cat "$here/VERSIONS" "$here/build.sh" | sha256sum | cut -c1-16)

built() { [ -f "$prefix/.stamp" ] && [ "$(cat "$prefix/.stamp")" = "$key" ]; }
built && exit 0

mkdir -p "$dir"
exec 9>"$dir/.lock-$target"
flock 9 # another configure may be building the same target; other targets build alongside
built && exit 0

case $target in
  i686-w64-mingw32 | x86_64-w64-mingw32)
    cc=$(command -v "$target-gcc-posix" || command -v "$target-gcc")
    ar=$target-ar
    cflags=(-O2)
    zlib_include=/usr/$target/include
    zlib_library=/usr/$target/lib/libz.a
    # libarchive's own configure sees a plain Windows cross build.
    toolchain=(-DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_VERSION=6.1 -DCMAKE_C_COMPILER="$cc"
      -DCMAKE_RC_COMPILER="$target-windres" -DCMAKE_FIND_ROOT_PATH="/usr/$target;$prefix"
      -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY
      -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY
      # zlib here uses the C calling convention, which libarchive would
      # otherwise find out by running a program.
      -DZLIB_WINAPI_EXITCODE=1 -DZLIB_WINAPI_EXITCODE__TRYRUN_OUTPUT=)
    ;;
  i686-linux-gnu)
    cc=gcc
    ar=ar
    cflags=(-O2 -m32 -fPIC)
    zlib_include=/usr/include
    zlib_library=/usr/lib32/libz.a
    toolchain=(-DCMAKE_C_COMPILER=gcc -DCMAKE_C_FLAGS=-m32)
    ;;
  *)
    echo "third_party: unknown target $target" >&2
    exit 2
    ;;
esac

work=$dir/work/$target
log=$dir/work/$target.log
rm -rf "$work" "$prefix"
mkdir -p "$work" "$prefix/include" "$prefix/lib"
: >"$log"
trap 'echo "third_party: building for $target failed; the last lines of $log:" >&2; tail -n 30 "$log" >&2' ERR
echo "third_party: building libbz2, libdeflate and libarchive for $target (once)" >&2

# took WHAT: says how long WHAT took since the last call, for the CI logs.
mark=$SECONDS
took() {
  echo "third_party: $1 for $target in $((SECONDS - mark)) s" >&2
  mark=$SECONDS
}

version_of() { awk -v p="$1" '$1 == p { print $2 }' "$here/VERSIONS"; }

# fetch PACKAGE: unpacks the pinned source package (with Debian's patches) into
# DIR/src/PACKAGE-VERSION and prints that folder.
fetch() {
  local package=$1 version src tmp
  version=$(version_of "$package")
  src=$dir/src/$package-$version
  # Targets building at once share the sources: one unpacks, the others wait.
  exec 8>"$dir/.lock-src"
  flock 8
  if [ ! -f "$src/.unpacked" ]; then
    tmp=$src.tmp
    rm -rf "$src" "$tmp"
    mkdir -p "$tmp"
    chmod 777 "$tmp" # apt downloads as the _apt user where it can
    if ! (cd "$tmp" && apt-get source -q --only-source "$package=$version") >>"$log" 2>&1; then
      trap - ERR
      echo "third_party: Debian's source package $package $version could not be fetched." >&2
      if ! apt-cache showsrc "$package" >/dev/null 2>&1 || [ -z "$(apt-cache showsrc "$package" 2>/dev/null)" ]; then
        echo "third_party: apt knows no source packages: run tools/setup.sh, which adds them." >&2
      else
        echo "third_party: Debian serves $(apt-cache showsrc "$package" | awk '/^Version:/ { print $2 }' | paste -sd' ');" \
          "pin one of these in third_party/VERSIONS." >&2
      fi
      exit 1
    fi
    mv "$(find "$tmp" -mindepth 1 -maxdepth 1 -type d | head -n 1)" "$src"
    rm -rf "$tmp"
    touch "$src/.unpacked"
  fi
  echo "$src"
}

# compile NAME SOURCE... : compiles C sources (with $includes) on every core into lib/libNAME.a.
compile() {
  local name=$1 obj=$work/$1
  shift
  mkdir -p "$obj"
  printf '%s\n' "$@" | xargs -P "$(nproc)" -I{} sh -c \
    '"$0" "$@" -c "{}" -o "'"$obj"'/$(basename "{}" .c).o"' "$cc" "${cflags[@]}" "${includes[@]}" >>"$log" 2>&1
  "$ar" rcs "$prefix/lib/lib$name.a" "$obj"/*.o
}

# libbz2. Its header declares the functions as pointers for a DLL loaded at
# run time whenever _WIN32 is set; for a static library on mingw-w64 it must
# declare them as on every other system, and include no <windows.h>.
src=$(fetch bzip2)
mkdir -p "$work/bzip2-src"
cp "$src"/*.c "$src"/*.h "$work/bzip2-src/"
sed -i 's/^#ifdef _WIN32$/#if defined(_WIN32) \&\& !defined(__MINGW32__)/' "$work/bzip2-src/bzlib.h"
grep -q '!defined(__MINGW32__)' "$work/bzip2-src/bzlib.h"
cp "$work/bzip2-src/bzlib.h" "$prefix/include/"
includes=(-D_FILE_OFFSET_BITS=64 -I"$work/bzip2-src")
compile bz2 "$work"/bzip2-src/{blocksort,huffman,crctable,randtable,compress,decompress,bzlib}.c
took libbz2

# libdeflate: the library sources, with the x86 code that picks its fastest
# routines at run time.
src=$(fetch libdeflate)
includes=(-std=c99 -I"$src")
compile deflate "$src"/lib/*.c "$src"/lib/x86/*.c
cp "$src/libdeflate.h" "$prefix/include/"
took libdeflate

# libarchive, with zlib and libbz2 only (and glibc's iconv on Linux): no crypto, XML or other
# compression libraries, and none of its programs. Only the static library
# is built.
src=$(fetch libarchive)
off=()
for option in OPENSSL MBEDTLS NETTLE LIBB2 LZ4 LZO LZMA ZSTD LIBXML2 EXPAT PCREPOSIX LIBGCC CNG \
  TAR CPIO CAT XATTR ACL ICONV TEST INSTALL WERROR; do
  # glibc's own iconv converts names from other code pages (an LHA archive's
  # Shift-JIS, say); on Windows libarchive converts through the system.
  [ "$target" = i686-linux-gnu ] && [ $option = ICONV ] && continue
  off+=(-DENABLE_$option=OFF)
done
# -O2, as Debian builds it, rather than CMake's -O3, which only costs compile time.
cmake -S "$src" -B "$work/libarchive" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS_RELEASE="-O2 -DNDEBUG" -Wno-dev \
  "${toolchain[@]}" "${off[@]}" -DENABLE_ZLIB=ON -DENABLE_BZip2=ON \
  -DCMAKE_POSITION_INDEPENDENT_CODE=ON -DPOSIX_REGEX_LIB=NONE \
  -DZLIB_INCLUDE_DIR="$zlib_include" -DZLIB_LIBRARY="$zlib_library" \
  -DBZIP2_INCLUDE_DIR="$prefix/include" -DBZIP2_LIBRARY_RELEASE="$prefix/lib/libbz2.a" >>"$log" 2>&1
grep -q '^#define HAVE_BZLIB_H 1' "$work/libarchive/config.h"
grep -q '^#define HAVE_ZLIB_H 1' "$work/libarchive/config.h"
took "libarchive's configure"
cmake --build "$work/libarchive" --target archive_static -j "$(nproc)" >>"$log" 2>&1
find "$work/libarchive/libarchive" -maxdepth 1 -name 'libarchive*.a' -exec cp {} "$prefix/lib/libarchive.a" \;
cp "$src/libarchive/archive.h" "$src/libarchive/archive_entry.h" "$prefix/include/"
took "libarchive's build"

rm -rf "$work"
echo "$key" >"$prefix/.stamp"
echo "third_party: $target ready in $prefix" >&2
