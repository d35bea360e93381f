#!/usr/bin/env bash
# Sets everything up, then runs the reference host on the plug-in's catalogue.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
build/bin/vekhost list
