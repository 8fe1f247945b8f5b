#!/usr/bin/env bash
# clang-tidy with the checks of .clang-tidy over the project's own sources, on the checked
# tree's compile database; any finding fails. CI runs it through scripts/test.sh --lint.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh

build=${BUILD_DIR:-build-check}
# Up to date after scripts/test.sh; otherwise it makes the generated form headers that the
# sources include. scripts/test.sh --lint, which has just built the tree, says so.
if [ -z "${ZELT_TIDY_TREE_BUILT:-}" ]; then
    cmake --preset check -B "$build" >/dev/null
    cmake --build "$build" >/dev/null
fi

folders="framework|driver|window|recording|quicksettings|programmer|widgets|plugin|host|simulator|tests|bench"
log=$(mktemp)
db=$(mktemp -d)
trap 'rm -rf "$log" "$db"' EXIT
# The tree precompiles Qt's headers with GCC, whose .gch files clang cannot read: clang-tidy gets
# the compile commands without them, so that each source is read with what it includes itself.
sed -e 's# -Winvalid-pch -include [^ ]*/cmake_pch\.hxx##g' "$build/compile_commands.json" >"$db/compile_commands.json"
# The project's sources, largest first: the long ones start early instead of one of them running
# alone at the end.
mapfile -t sources < <(sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' "$db/compile_commands.json" |
    grep -E "^$PWD/($folders)/" | sort -u)
mapfile -t sources < <(ls -S "${sources[@]}")
status=0
printf '%s\n' "${sources[@]}" | xargs -P "$(nproc)" -n 1 clang-tidy -p "$db" --quiet >"$log" 2>&1 || status=$?
# Only the findings, without the counts of suppressed warnings.
grep -v -e 'warnings\? generated' -e '^Suppressed' -e '^Use -header-filter' -e '^Use -system-headers' \
    "$log" || true
if [ "$status" -ne 0 ]; then
    echo "clang-tidy: findings above" >&2
    exit 1
fi
echo "clang-tidy: no findings"
