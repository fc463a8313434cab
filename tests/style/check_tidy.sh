#!/usr/bin/env bash
# check_tidy.sh BUILD: clang-tidy finds nothing in the product's own code. Exit status 77: not with this one. It takes
# minutes, so it is not repeated while nothing that it reads has changed.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/version.sh"
require_version clang-tidy
build=$1
passed=$build/tidy.passed
report=$(mktemp)
trap 'rm -f "$report"' EXIT

# Sources, rules, commands and installed packages: the linter, and the headers of libraries.
all_it_reads() {
  (cd "$(dirname "${BASH_SOURCE[0]}")/../.." &&
    find . \( -path ./build -o -path ./tests -o -path ./bench \) -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.in' -o -name .clang-tidy \) -type f -print0 |
    sort -z | xargs -0 sha256sum)
  cat "$build/compile_commands.json" /var/lib/dpkg/status
}

state=$(all_it_reads | sha256sum)
if [[ -e $passed && $(cat "$passed") == "$state" ]]; then
  echo "nothing has changed since it passed"
  exit 0
fi
if run-clang-tidy -quiet -p "$build" -j "$(nproc)" -extra-arg=-Wno-unknown-warning-option \
  '^(?!.*/(tests|bench)/)' >"$report" 2>&1; then
  echo "$state" >"$passed"
  exit 0
fi
grep -vE '^[0-9]+ warnings? (and [0-9]+ errors? )?generated|^clang-tidy-|^$' "$report" | head -200
exit 1
