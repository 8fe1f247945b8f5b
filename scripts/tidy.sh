#!/usr/bin/env bash
# clang-tidy with the checks of .clang-tidy over the project's own sources, on the checked
# tree's compile database; any finding fails. CI runs it after scripts/test.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

build=${BUILD_DIR:-build-check}
cmake --preset check -B "$build" >/dev/null
# Up to date after scripts/test.sh; otherwise it makes the generated form headers that the
# sources include.
cmake --build "$build" >/dev/null

folders="framework|driver|window|recording|quicksettings|programmer|widgets|plugin|host|simulator|tests|bench"
log=$(mktemp)
db=$(mktemp -d)
trap 'rm -rf "$log" "$db"' EXIT
# The tree precompiles Qt's headers with GCC, whose .gch files clang cannot read: clang-tidy gets
# the compile commands without them, so that each source is read with what it includes itself.
sed -e 's# -Winvalid-pch -include [^ ]*/cmake_pch\.hxx##g' "$build/compile_commands.json" >"$db/compile_commands.json"
status=0
run-clang-tidy -p "$db" -j "$(nproc)" -quiet "^$PWD/($folders)/" >"$log" 2>&1 || status=$?
# Only the findings, without the per-file command lines and the counts of suppressed warnings.
grep -v -e '^clang-tidy' -e 'warnings\? generated' -e '^Suppressed' -e '^Use -header-filter' \
    -e '^Use -system-headers' "$log" || true
if [ "$status" -ne 0 ]; then
    echo "clang-tidy: findings above" >&2
    exit 1
fi
echo "clang-tidy: no findings"
