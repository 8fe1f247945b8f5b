#!/usr/bin/env bash
# Fails on any difference between the project's C++ sources and .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
if command -v git >/dev/null && git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
else
    # A copy without git, such as an unpacked archive: every source outside the build trees.
    find . -path './build*' -prune -o \( -name '*.cpp' -o -name '*.h' \) -print0 \
        | xargs -0 clang-format --dry-run --Werror
fi
