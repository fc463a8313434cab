#!/usr/bin/env bash
# Installs missing Debian packages by name, without questions; a second run changes nothing.
#
#   packaging/install_packages.sh NAME…             installs
#   packaging/install_packages.sh --missing NAME…   prints the missing ones, one per line, and changes nothing
#
# No daemon of the machine is started or stopped, and no daemon of an installed package starts at the next boot. Exit
# status: 0 all installed, 1 something could not be installed (the reason is printed).
set -euo pipefail

policy_file=/usr/sbin/policy-rc.d
policy_aside=$policy_file.currentconn-aside
policy_mark='# Put here by packaging/install_packages.sh while it installs; safe to remove.'

say() { printf 'packages: %s\n' "$*" >&2; }

installed() { dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u; }

missing() {
  comm -13 <(installed) <(printf '%s\n' "$@" | sort -u)
}

as_root() {
  if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi
}

need_root() {
  [[ $EUID -eq 0 ]] && return
  command -v sudo >/dev/null && return
  say "these packages are missing and only root can install them: $*"
  say "run this as root, install sudo, or have them installed: apt-get install --no-install-recommends $*"
  exit 1
}

# A package's own scripts start its daemon unless this file forbids it. An existing file is restored.
hold_daemons_back() {
  if [[ -e $policy_file && ! -e $policy_aside ]] && ! grep -qF "$policy_mark" "$policy_file"; then
    as_root mv "$policy_file" "$policy_aside"
  fi
  trap release_daemons EXIT
  trap 'exit 1' HUP INT TERM
  printf '#!/bin/sh\n%s\nexit 101\n' "$policy_mark" | as_root tee "$policy_file" >/dev/null
  as_root chmod 0755 "$policy_file"
}

release_daemons() {
  as_root rm -f "$policy_file"
  if [[ -e $policy_aside ]]; then as_root mv "$policy_aside" "$policy_file"; fi
  trap - EXIT HUP INT TERM
}

keep_from_boot() {
  command -v systemctl >/dev/null || return 0
  local name unit
  for name in "$@"; do
    dpkg-query --listfiles "$name" | sed -nE 's,^(/usr)?/lib/systemd/system/([^/@]+\.(service|socket))$,\2,p' |
      while read -r unit; do as_root systemctl disable "$unit" >/dev/null 2>&1 </dev/null || true; done
  done
}

apt_get() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 "$@" >&2
}

install_all() {
  local before
  say "installing $*"
  before=$(installed)
  hold_daemons_back
  apt_get update || say "the package lists could not be updated; continuing with the present ones"
  if ! apt_get install --yes --no-install-recommends "$@"; then
    say "apt-get could not install: $*"
    exit 1
  fi
  release_daemons
  mapfile -t fresh < <(comm -13 <(echo "$before") <(installed))
  keep_from_boot "${fresh[@]}"
}

main() {
  local only_print=
  if [[ ${1:-} == --missing ]]; then
    only_print=yes
    shift
  fi
  command -v dpkg-query >/dev/null || { say "this system has no dpkg; install the contents of these Debian packages: $*"; exit 1; }
  local -a wanted
  mapfile -t wanted < <(missing "$@")
  ((${#wanted[@]})) || return 0
  if [[ $only_print ]]; then
    printf '%s\n' "${wanted[@]}"
    return
  fi
  need_root "${wanted[@]}"
  install_all "${wanted[@]}"
}

main "$@"
