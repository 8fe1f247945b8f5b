#!/usr/bin/env bash
# Fails on any difference between the project's C++ sources and .clang-format.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files -z -- '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
