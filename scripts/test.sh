#!/usr/bin/env bash
# Builds a checked tree (warnings as errors, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every suite under CTest, offscreen.
# With --lint it also runs the lint gate (scripts/tidy.sh) on that tree, beside the suites: they
# spend most of their time waiting on sockets and timers, and clang-tidy fills that time.
set -euo pipefail
cd "$(dirname "$0")/.."
lint=false
if [ "${1:-}" = "--lint" ]; then
    lint=true
fi
bash scripts/install-deps.sh
bash scripts/check-format.sh

build=${BUILD_DIR:-build-check}
# The "check" preset of CMakePresets.json, so that an IDE builds the same tree.
cmake --preset check -B "$build" >/dev/null
cmake --build "$build"
lint_pid=
if $lint; then
    ZELT_TIDY_TREE_BUILT=1 BUILD_DIR="$build" bash scripts/tidy.sh &
    lint_pid=$!
fi
# The "check" test preset: offscreen, output on failure, a time limit per suite. Suites run side
# by side: each has its own settings folders and ports, and those that need the one portmapper
# port hold a lock on it.
status=0
ctest --preset check --test-dir "$build" -j "$(nproc)" || status=$?
if [ -n "$lint_pid" ]; then
    wait "$lint_pid" || status=1
fi
exit "$status"
