#!/usr/bin/env bash
# Builds the Windows libraries of the plug-in and the reference host from Debian's source packages as
# static libraries for 64-bit Windows, into one prefix: oneTBB, zlib, libpng, libjpeg-turbo and
# libsndfile. Once per machine: the prefix is cached outside the checkout, keyed on the source versions,
# the toolchain file and this script. Prints the prefix, which the project takes as
# -DCMAKE_FIND_ROOT_PATH=<prefix>. Usage: scripts/build-mingw-deps.sh [CACHE_ROOT]
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
toolchain="$repo/cmake/mingw-w64-x86_64.cmake"
cache_root=${1:-${VEK_CACHE_DIR:-/var/cache/vek_dsp}}
packages=(onetbb zlib libpng1.6 libjpeg-turbo libsndfile)

# Every version apt lists, newest first: an update of a package changes the key.
versions_of() {
  apt-cache showsrc "$1" 2>/dev/null | awk '/^Version:/ {print $2}' | sort -ruV
}

if ! grep -rqs '^Types: deb-src' /etc/apt/sources.list.d/ /etc/apt/sources.list; then
  sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources \
    > /etc/apt/sources.list.d/debian-src.sources
fi
[[ -n $(versions_of onetbb) ]] || apt-get update -qq
key=$(for package in "${packages[@]}"; do echo "$package $(versions_of "$package" | tr '\n' ' ')"; done |
  cat - "$toolchain" "${BASH_SOURCE[0]}" | sha256sum | cut -c1-12)
prefix="$cache_root/mingw-deps-$key"
manifest="$prefix/built-from.txt"
[[ -f "$manifest" ]] && { echo "$prefix"; exit 0; }

mkdir -p "$cache_root"
exec {lock}>"$cache_root/.mingw-deps.lock"
flock "$lock"
[[ -f "$manifest" ]] && { echo "$prefix"; exit 0; }
rm -rf "$prefix"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
log="$work/build.log"

# Runs a step with its output in the log, which is shown if the step fails.
quietly() {
  "$@" >>"$log" 2>&1 || { tail -n 40 "$log" >&2; echo "build-mingw-deps: failed: $*" >&2; exit 1; }
}

# Unpacks the newest version of a source package that the mirrors serve (a security update's
# source can lag behind its listing) and records it in the manifest. Sets $source and $build.
fetch() {
  local package=$1 version
  mkdir "$work/$package"
  for version in $(versions_of "$package"); do
    if (cd "$work/$package" && apt-get source -qq "$package=$version" >>"$log" 2>&1); then
      echo "$package $version" >>"$work/manifest"
      echo "build-mingw-deps: building $package $version" >&2
      source=$(find "$work/$package" -mindepth 1 -maxdepth 1 -type d)
      build="$work/$package/build"
      return
    fi
    echo "build-mingw-deps: $package $version could not be fetched" >&2
  done
  echo "build-mingw-deps: no source of $package could be fetched" >&2
  exit 1
}

# Configures the package just fetched for the prefix, finding what it needs in the prefix.
configure() {
  quietly cmake -S "$source" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_FIND_ROOT_PATH="$prefix" -DBUILD_SHARED_LIBS=OFF "$@"
}

build_and_install() {
  quietly cmake --build "$build" --parallel "$(nproc)" "$@"
  quietly cmake --install "$build"
}

fetch onetbb
# TBB_STRICT=OFF: the default -Werror fails on a warning of its own in dynamic_link.cpp.
configure -DTBB_TEST=OFF -DTBBMALLOC_BUILD=OFF -DTBB_STRICT=OFF
build_and_install
# The archive's .drectve sections hold only -export: directives; without them a DLL linked with it
# exports its own two entry points and nothing of oneTBB.
x86_64-w64-mingw32-objcopy --remove-section=.drectve "$prefix/lib/libtbb12.a"

# zlib's build always makes a DLL too, from a resource file that Debian's source leaves out, so only
# the static archive is built and installed by hand under the usual name.
fetch zlib
configure -DSKIP_INSTALL_LIBRARIES=ON
build_and_install --target zlibstatic
cp "$build/libzlibstatic.a" "$prefix/lib/libz.a"

fetch libpng1.6
configure -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
build_and_install

# Without the vector code, which would need nasm: decoding speed does not matter to the host.
fetch libjpeg-turbo
configure -DENABLE_SHARED=OFF -DWITH_SIMD=OFF -DWITH_TURBOJPEG=OFF -DWITH_JAVA=OFF
build_and_install

# PCM formats only: the host mixes PCM WAV files, and the external codecs (FLAC, Ogg, Vorbis, Opus,
# MPEG) would be six more source packages to build.
fetch libsndfile
configure -DENABLE_EXTERNAL_LIBS=OFF -DENABLE_MPEG=OFF -DBUILD_PROGRAMS=OFF -DBUILD_EXAMPLES=OFF \
  -DBUILD_TESTING=OFF -DENABLE_CPACK=OFF
build_and_install

mv "$work/manifest" "$manifest"
echo "build-mingw-deps: built $prefix in $SECONDS s" >&2
echo "$prefix"
