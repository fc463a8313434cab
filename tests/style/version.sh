# shellcheck shell=bash
# Which clang tools decide on style. Sourced by bash.

# require_version PROGRAM: ends the script where the program is of another version than Debian 12's, since each version
# formats a little differently and finds something else.
require_version() {
  local wanted=14
  if ! "$1" --version | grep -q "version $wanted\."; then
    echo "skipped: style is what $1 $wanted says, and this is another version"
    exit 77
  fi
}
