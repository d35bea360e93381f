#!/usr/bin/env bash
# Builds vek_dsp.dll and the test programs for 64-bit Windows with mingw-w64 and runs the whole
# test suite under wine. oneTBB is cross-built once per machine (scripts/build-tbb-mingw.sh).
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(g++-mingw-w64-x86-64-posix wine64 wine googletest dpkg-dev cmake ninja-build libcli11-dev
          nlohmann-json3-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "test-windows: installing ${missing[*]}" >&2
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

tbb_prefix=$(scripts/build-tbb-mingw.sh)
cmake -S . -B build-win -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DTBB_DIR="$tbb_prefix/lib/cmake/TBB"
cmake --build build-win --parallel "$(nproc)"

# A prefix of its own for this run, removed with wine's server when the tests are done.
export WINEPREFIX=${TMPDIR:-/tmp}/vek-dsp-wine-$$ WINEDEBUG=-all
status=0
ctest --test-dir build-win --output-on-failure --timeout 120 --parallel "$(nproc)" || status=$?
wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"
exit $status
