#!/usr/bin/env bash
# Builds Debian's oneTBB source as a static library for 64-bit Windows, once per machine: the
# prefix is cached outside the checkout, keyed on the source version and the toolchain file.
# Prints the prefix. Usage: scripts/build-tbb-mingw.sh [CACHE_ROOT]
set -euo pipefail

repo=$(cd "$(dirname "$0")/.." && pwd)
toolchain="$repo/cmake/mingw-w64-x86_64.cmake"
cache_root=${1:-${VEK_CACHE_DIR:-/var/cache/vek_dsp}}

if ! grep -rqs '^Types: deb-src' /etc/apt/sources.list.d/ /etc/apt/sources.list; then
  sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources \
    > /etc/apt/sources.list.d/debian-src.sources
  apt-get update -qq
fi
version=$(apt-cache showsrc onetbb | awk '/^Version:/ {print $2; exit}')
key=$(printf '%s\n' "$version" | cat - "$toolchain" | sha256sum | cut -c1-12)
prefix="$cache_root/onetbb-mingw-$key"
if [[ -f "$prefix/lib/cmake/TBB/TBBConfig.cmake" ]]; then
  echo "$prefix"
  exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && apt-get source -qq onetbb >/dev/null 2>&1)
source_dir=$(find "$work" -maxdepth 1 -type d -name 'onetbb-*' | head -n1)
# TBB_STRICT=OFF: the default -Werror fails on a warning of its own in dynamic_link.cpp.
cmake -S "$source_dir" -B "$work/build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
  -DTBB_TEST=OFF -DTBBMALLOC_BUILD=OFF -DTBB_STRICT=OFF -DBUILD_SHARED_LIBS=OFF -DCMAKE_INSTALL_PREFIX="$prefix" \
  >/dev/null
cmake --build "$work/build" --parallel "$(nproc)" >/dev/null
cmake --install "$work/build" >/dev/null
# The archive's .drectve sections hold only -export: directives; without them a DLL linked with it
# exports its own two entry points and nothing of oneTBB.
x86_64-w64-mingw32-objcopy --remove-section=.drectve "$prefix/lib/libtbb12.a"
echo "$prefix"
