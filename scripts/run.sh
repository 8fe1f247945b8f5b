#!/usr/bin/env bash
# Builds an optimised host, plug-in and simulator (no tests, no benchmarks) and starts the
# host on its built-in simulated KVR9040-40. Without a display it runs offscreen, takes a
# screenshot once the window has been live for a few seconds, and prints where the picture is.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

build=${BUILD_DIR:-build-release}
started=$SECONDS
# The "run" preset of CMakePresets.json, so that an IDE builds the same tree.
cmake --preset run -B "$build" >/dev/null
cmake --build "$build" --target zelt-host kvr9000 kvr9000_simulator kvr9000-sim
elapsed=$((SECONDS - started))
echo "Built in $((elapsed / 60)) min $((elapsed % 60)) s."

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    shot="$PWD/$build/kvr9000-host.png"
    echo "No display found: running offscreen."
    QT_QPA_PLATFORM=offscreen "$build/bin/zelt-host" --screenshot "$shot" --delay 4 "$@"
else
    exec "$build/bin/zelt-host" "$@"
fi
