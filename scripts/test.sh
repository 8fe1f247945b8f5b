#!/usr/bin/env bash
# Builds a checked tree (warnings as errors, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every suite under CTest, offscreen.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/check-format.sh

build=${BUILD_DIR:-build-check}
# The "check" preset of CMakePresets.json, so that an IDE builds the same tree.
cmake --preset check -B "$build" >/dev/null
cmake --build "$build"
export QT_QPA_PLATFORM=offscreen
ctest --test-dir "$build" --output-on-failure --timeout 300
