#!/usr/bin/env bash
# check_install.sh BUILD: an installed tree works by itself, away from the build.
set -euo pipefail
build=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cmake --install "$build" --prefix "$tree" >/dev/null

"$tree/bin/currentconn" --version | grep -q '^currentconn [0-9]'
"$tree/lib/currentconn/bin/currentconnd" --version | grep -q '^currentconnd [0-9]'
for file in share/currentconn/page/index.html include/currentconn/zevo/api_table.h share/cmake/currentconn/currentconn-config.cmake \
  share/man/man1/currentconn.1 share/man/man5/currentconn.toml.5 share/man/man8/currentconnd.8 \
  share/bash-completion/completions/currentconn share/zsh/vendor-completions/_currentconn \
  share/fish/vendor_completions.d/currentconn.fish; do
  [[ -s $tree/$file ]] || { echo "not installed: $file" >&2; exit 1; }
done
for shell in bash-completion/completions/currentconn zsh/vendor-completions/_currentconn \
  fish/vendor_completions.d/currentconn.fish; do
  grep -q '[^a-z]cifs .*telnet web[^a-z]' "$tree/share/$shell" ||
    { echo "the completions do not name a kick's services: $shell" >&2; exit 1; }
done
if ldd "$tree"/lib/currentconn/{bin/*,lib/*.so,modules/*.so} | grep -e "$build" -e 'not found'; then
  echo "the installed files need the build" >&2
  exit 1
fi
grep -q '^session_file = ' "$tree/share/man/man5/currentconn.toml.5"
# The installed headers are whole: no one of them includes one that stayed behind.
flags=$(PKG_CONFIG_PATH=$tree/share/pkgconfig pkg-config --cflags currentconn)
for header in "$tree"/include/currentconn/zevo/*.h; do
  # shellcheck disable=SC2086
  g++ -std=c++20 -fsyntax-only $flags -include "$header" -x c++ /dev/null
done
# Its own module and texts: the report's title is a text.
if [[ $EUID -eq 0 ]]; then
  echo 'language = "de"' >"$tree/configuration.toml"
  echo "session_file = \"$tree/sessions\"" >>"$tree/configuration.toml"
  "$tree/bin/currentconn" report --config "$tree/configuration.toml" -o - | grep -q '<title>Aktuelle Verbindungen</title>'
fi
