#!/usr/bin/env bash
# check_install.sh BUILD: an installed tree works by itself, away from the build.
set -euo pipefail
build=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cmake --install "$build" --prefix "$tree" >/dev/null

"$tree/bin/currentconn" --version | grep -q '^currentconn [0-9]'
"$tree/lib/currentconn/bin/currentconnd" --version | grep -q '^currentconnd [0-9]'
for file in share/currentconn/page/index.html share/man/man1/currentconn.1 include/currentconn/zevo/api_table.h \
  share/bash-completion/completions/currentconn; do
  [[ -s $tree/$file ]] || { echo "not installed: $file" >&2; exit 1; }
done
if ldd "$tree"/lib/currentconn/{bin/*,lib/*.so,modules/*.so} | grep -e "$build" -e 'not found'; then
  echo "the installed files need the build" >&2
  exit 1
fi
# Its own module and texts: the report's title is a text.
if [[ $EUID -eq 0 ]]; then
  echo 'language = "de"' >"$tree/configuration.toml"
  echo "session_file = \"$tree/sessions\"" >>"$tree/configuration.toml"
  "$tree/bin/currentconn" report --config "$tree/configuration.toml" -o - | grep -q '<title>Aktuelle Verbindungen</title>'
fi
