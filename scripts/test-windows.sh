#!/usr/bin/env bash
# Builds vek_dsp.dll, vekhost.exe and the test programs for 64-bit Windows with mingw-w64 and runs
# the whole test suite under wine. oneTBB and the host's picture and audio libraries are cross-built
# once per machine (scripts/build-mingw-deps.sh). Usage: scripts/test-windows.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build-win}

packages=(g++-mingw-w64-x86-64-posix wine64 wine googletest dpkg-dev cmake ninja-build pkg-config libcli11-dev
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

libraries=$(scripts/build-mingw-deps.sh)
# A build folder configured against another prefix starts afresh: CMake keeps the paths it found.
fresh=()
grep -qs "^CMAKE_FIND_ROOT_PATH:[A-Z]*=$libraries\$" "$build_dir/CMakeCache.txt" || fresh=(--fresh)
cmake "${fresh[@]}" -S . -B "$build_dir" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-w64-x86_64.cmake" \
  -DCMAKE_BUILD_TYPE=Release -DCMAKE_FIND_ROOT_PATH="$libraries"
cmake --build "$build_dir" --parallel "$(nproc)"

# A prefix of its own for this run, removed with wine's server when the tests are done.
export WINEPREFIX=${TMPDIR:-/tmp}/vek-dsp-wine-$$ WINEDEBUG=-all
# The prefix is made once before the tests: tests started together would otherwise race to create
# it. Even so, wine now and then fails to start a program at all (no output, a failed exit), so a
# failed test runs once more; a test that fails twice fails the run.
cmake/wine-run.sh cmd /c exit
status=0
ctest --test-dir "$build_dir" --output-on-failure --timeout 120 --parallel "$(nproc)" --repeat until-pass:2 || status=$?
wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"
exit $status
