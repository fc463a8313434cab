#!/usr/bin/env bash
# Installs what the page's tests need: Node, Chromium and lighttpd as Debian packages, and the npm packages of
# package-lock.json into build/browser/node_modules, from whatever registry npm is set up with. A second run changes
# nothing.
#
#   tests/browser/packages.sh            installs what is missing
#   tests/browser/packages.sh --missing  prints what is missing, one name a line, and changes nothing
#   tests/browser/packages.sh --names    prints the Debian packages that a system without any of them needs
#
# Exit status: 0 all there, 1 something could not be had (the reason is printed).
set -euo pipefail

here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
source_folder=$(cd "$here/../.." && pwd)
module_folder=$source_folder/build/browser

say() { printf 'browser packages: %s\n' "$*" >&2; }

always=(chromium lighttpd lighttpd-mod-deflate openssl)

# Node of any origin will do, as long as it is there.
debian_packages() {
  printf '%s\n' "${always[@]}"
  command -v node >/dev/null || echo nodejs
  command -v npm >/dev/null || echo npm
}

modules_are_there() {
  [[ -d $module_folder/node_modules ]] &&
    cmp -s "$here/package-lock.json" "$module_folder/package-lock.json" &&
    [[ -e $module_folder/node_modules/.complete ]]
}

install_modules() {
  say "installing the npm packages into $module_folder"
  mkdir -p "$module_folder"
  cp "$here/package.json" "$here/package-lock.json" "$module_folder/"
  if ! (cd "$module_folder" && npm ci --ignore-scripts --no-audit --no-fund >&2); then
    say "npm could not install the packages of $here/package-lock.json; see 'npm config get registry'"
    exit 1
  fi
  touch "$module_folder/node_modules/.complete"
}

main() {
  local -a wanted
  if [[ ${1:-} == --names ]]; then
    printf '%s\n' "${always[@]}" nodejs npm
    return
  fi
  mapfile -t wanted < <(debian_packages)
  if [[ ${1:-} == --missing ]]; then
    "$source_folder/packaging/install_packages.sh" --missing "${wanted[@]}"
    modules_are_there || echo node_modules
    return
  fi
  "$source_folder/packaging/install_packages.sh" "${wanted[@]}"
  modules_are_there || install_modules
}

main "$@"
