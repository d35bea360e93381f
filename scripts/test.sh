#!/usr/bin/env bash
# Sets everything up and runs the whole test suite twice: on the Release build, then on a build
# with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)

scripts/setup.sh build
ctest --test-dir build --output-on-failure --parallel "$jobs"

scripts/setup.sh build-sanitize -DCMAKE_BUILD_TYPE=Debug -DVEK_SANITIZE=ON -DVEK_BUILD_BENCH=OFF
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-sanitize --output-on-failure --parallel "$jobs"
