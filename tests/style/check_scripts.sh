#!/usr/bin/env bash
# check_scripts.sh shell|python|javascript: the linter of that language finds nothing in the tree.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
# What is built or was made by a tool is not ours to mend.
everything() { find . \( -path ./build -o -path ./.git -o -name node_modules \) -prune -o -type f -print; }

case $1 in
  shell)
    everything | grep -vE '\.(py|mjs|js|md|cpp|h|txt|json)$' | xargs grep -lE '^#!/.*\b(ba)?sh\b|^# shellcheck shell=' |
      xargs shellcheck --severity=warning
    ;;
  python) flake8 --max-line-length=132 tests bench ;;
  javascript) build/browser/node_modules/.bin/eslint --config tests/style/eslint.config.mjs web tests ;;
esac
