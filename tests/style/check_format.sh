#!/usr/bin/env bash
# check_format.sh SOURCE: every C++ file of the tree is as clang-format writes it. Exit status 77: not with this one.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/version.sh"
require_version clang-format
cd "$1"
find bench calls cli daemon examples module platform tests -name '*.cpp' -o -name '*.h' | sort | xargs clang-format --dry-run --Werror
