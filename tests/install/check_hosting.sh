#!/usr/bin/env bash
# check_hosting.sh SOURCE BUILD: what the guide for makers lists is what the built module asks for, no more and no less.
set -euo pipefail
export LC_ALL=C
guide=$1/docs/hosting.md
module=$2/modules/ZEVO.Core.CurrentConnection.so
libraries=$2/lib

# names FILE nm-OPTION: the platform's names among the symbols of a file, without parameters.
names() {
  nm -D -C "$2" "$1" | sed -nE 's/^ *([0-9a-f]+ +)?[UTDB] //p' |
    grep -vE '@|^(vtable|typeinfo|non-virtual thunk|guard variable)|^(std|Json)::|^operator|^_' |
    sed -E 's/\[abi:[a-z0-9]+\]//g; s/\(.*//' | sort -u
}

# listed LIBRARY: the names that the guide lists for a library.
listed() { grep -E "^\| \`$1\`" "$guide" | cut -d'|' -f4 | grep -oE '[A-Za-z0-9_:~]+' | sort -u; }

status=0
# same WHAT EXPECTED FOUND
same() {
  diff <(echo "$2") <(echo "$3") && return
  echo "$1" >&2
  status=1
}

all=
for library in libzevowebapi libzevosdk libzevocgi; do
  all+=$(listed "$library")$'\n'
  missing=$(comm -23 <(listed "$library") <(names "$libraries/$library.so" --defined-only))
  same "the guide lists for $library what it does not have" '' "$missing"
done
same "the guide (<) does not list what the module needs (>)" "$(sort <<<"${all%$'\n'}")" "$(names "$module" --undefined-only)"

# The libraries that the linker loads with the module; what a sanitizer adds is not the module's.
needed=$(readelf -d "$module" | sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' | grep -vE '^lib(asan|ubsan|m)\.so')
for library in $needed; do
  grep -E '^\| `lib' "$guide" | grep -qF "\`$library\`" || same "the guide does not list a needed library" '' "$library"
done

# The texts, as the sources ask for them and as the installed bundles have them.
texts=$(grep -rhoE 'Text\("[a-z_]+"' "$1/module" | cut -d'"' -f2 | sort -u)
for text in $texts; do
  grep -qF "\`$text\`" "$guide" || same "the guide does not list a text" '' "$text"
done
exit "$status"
