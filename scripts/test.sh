#!/usr/bin/env bash
# Builds a checked tree (warnings as errors, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every suite under CTest, offscreen.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

build=${BUILD_DIR:-build-check}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g" \
    -DZELT_WERROR=ON -DZELT_SANITIZE=ON >/dev/null
cmake --build "$build"
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build" --output-on-failure --timeout 300
