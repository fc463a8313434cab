#!/usr/bin/env bash
# check_contract.sh SOURCE BUILD [--store]: the contract of the built module and libraries is the one that is stored for
# its number, the one in their sonames. --store writes the description instead; docs/hosting.md says when that is right
# and when the number has to rise.
#
# A description has two files. NUMBER.abi is abidw's, of the C functions and their types: read from a small library that is
# made of the installed headers, since the build's own are full of the standard library's types, which differ between
# releases. NUMBER.symbols has the rest: what the module needs, what is exported, and what the classes are to a caller.
set -euo pipefail
export LC_ALL=C
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/tree" >/dev/null
headers=$scratch/tree/include/currentconn
libraries=$scratch/tree/lib/currentconn/lib
module=$scratch/tree/lib/currentconn/modules/ZEVO.Core.CurrentConnection.so
number=$(readelf -d "$libraries/libzevosdk.so" | sed -nE 's/.*SONAME.*\[libzevosdk\.so\.([0-9]+)\]/\1/p')
stored=$source/tests/install/contract/$number

parts=$source/tests/install/contract
compile=(g++ -std=c++20 -g -I"$headers")
read -ra jsoncpp < <(pkg-config --cflags --libs jsoncpp)

strong() { nm -D -P "$2" "$1" | sed -nE 's/^([^ @]+) [UTDB] ?.*/\1/p' | sort; }

# The exported symbols of a library that the installed headers declare; others are for its own programs.
declared() {
  local symbol name
  strong "$1" --defined-only | while read -r symbol; do
    name=$(c++filt -p <<<"$symbol" | sed 's/\[abi:[a-z0-9]*\]//; s/.*:://')
    if grep -rqE "(^|\W)$name\(" "$headers"; then echo "$symbol"; fi
  done
}

symbols() {
  local library
  strong "$module" --defined-only | sed 's/^/module exports /'
  for library in libzevowebapi libzevosdk libzevocgi; do
    declared "$libraries/$library.so" | sed "s/^/$library exports /"
    comm -12 <(strong "$module" --undefined-only) <(strong "$libraries/$library.so" --defined-only) | sed "s/^/module needs /"
  done
  "${compile[@]}" "$parts/classes.cpp" "${jsoncpp[@]}" -o "$scratch/classes"
  "$scratch/classes"
}

# describe FILE: the types of the C functions.
describe() {
  local functions
  functions=$(sed -nE 's/^libzevo[a-z]+ exports ([A-Z]\w*)$/F(\1)/p' "$scratch/symbols" | tr '\n' ' ')
  "${compile[@]}" -fPIC -shared "-DCONTRACT_FUNCTIONS=$functions" "$parts/types.cpp" -o "$scratch/types.so"
  abidw --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs "$scratch/types.so" >"$1"
}

symbols >"$scratch/symbols"
if [[ ${3:-} == --store ]]; then
  cp "$scratch/symbols" "$stored.symbols"
  describe "$stored.abi"
  exit
fi
describe "$scratch/abi"
status=0
diff "$stored.symbols" "$scratch/symbols" | c++filt || status=1
abidiff --no-architecture "$stored.abi" "$scratch/abi" || status=1
if ((status)); then
  echo "the contract is not the one that is stored as number $number" >&2
  echo "raise the project's first version number, or put it back; where only functions for hosts were added, the number" >&2
  echo "may stay. Then store it: $0 $source $build --store" >&2
fi
exit "$status"
