#!/usr/bin/env bash
# Installs the Debian packages the build needs (skipping those present), then configures and
# builds. Usage: scripts/setup.sh [BUILD_DIR [extra CMake options...]]
set -euo pipefail

cd "$(dirname "$0")/.."
build_dir=${1:-build}
shift || true

packages=(cmake ninja-build g++ pkg-config binutils libtbb-dev libgtest-dev libgmock-dev libbenchmark-dev
          libcli11-dev nlohmann-json3-dev libpng-dev libjpeg62-turbo-dev libsndfile1-dev ffmpeg)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}" >&2
  sudo_cmd=()
  [[ $(id -u) -eq 0 ]] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@"
cmake --build "$build_dir" --parallel "$(nproc)"
