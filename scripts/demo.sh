#!/usr/bin/env bash
# Sets everything up, then renders the contact sheet of every effect on the built-in pictures.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build
build/bin/vekhost demo -o build/contact_sheet.png
echo "contact sheet: build/contact_sheet.png"
