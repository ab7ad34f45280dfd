#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer, warnings as errors,
# and runs every test through CTest (which sets the offscreen platform itself).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"

build="$top/build/test"
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORVEX_SANITIZE=ON >/dev/null
cmake --build "$build" -j "$jobs"
cd "$build"
ctest --output-on-failure -j "$jobs" "$@"
