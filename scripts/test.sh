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
# The "check" test preset: offscreen, output on failure, a time limit per suite. Suites run side
# by side: each has its own settings folders and ports, and those that need the one portmapper
# port hold a lock on it.
ctest --preset check --test-dir "$build" -j "$(nproc)"
