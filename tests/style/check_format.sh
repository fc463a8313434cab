#!/usr/bin/env bash
# check_format.sh SOURCE: every C++ file of the tree is as clang-format writes it.
set -euo pipefail
cd "$1"
find bench cli host module platform tests -name '*.cpp' -o -name '*.h' | sort | xargs clang-format --dry-run --Werror
