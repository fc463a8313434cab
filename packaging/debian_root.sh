#!/usr/bin/env bash
# Throw-away roots of Debian releases, kept under build/roots, and commands that run in them.
#
#   packaging/debian_root.sh make ROOT RELEASE PACKAGE…   creates build/roots/ROOT unless it exists with these packages
#   packaging/debian_root.sh run ROOT COMMAND…            runs a command in it, without network
#   packaging/debian_root.sh keep ROOT COMMAND…           the same with the machine's network; keeps changes of the root
#
# A command sees the project at its own path, with build/in-ROOT as its build/. It runs in its own mount, process and
# host-name namespaces: its child processes and mounts end with it. The machine is not changed. Package sources, keyring
# and proxies are those of the machine's apt.
set -euo pipefail

project=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
roots=$project/build/roots
# Everything that a command starts ends with this program, and this program with its caller, however they end.
namespaces=(setpriv --pdeathsig KILL unshare --mount --pid --uts --ipc --cgroup --fork --kill-child --propagation private)

say() { printf 'root: %s\n' "$*" >&2; }

fail() {
  say "$*"
  exit 1
}

# Prints why no root can be created here, or nothing.
obstacle() {
  if [[ $EUID -ne 0 ]]; then
    echo "only root can create one; run this with sudo"
  elif ! command -v apt-get >/dev/null; then
    echo "there is no apt-get"
  elif ! "${namespaces[@]}" sh -c 'mount -t tmpfs tmpfs /mnt && mkdir /mnt/1 /mnt/2 /mnt/3 &&
    mount -t overlay -o lowerdir=/usr,upperdir=/mnt/1,workdir=/mnt/2 overlay /mnt/3' >/dev/null 2>&1; then
    echo "mounts in a namespace are not permitted"
  fi
}

# apt's own account could not write to the destination and would complain.
download() { apt-get -qq -o APT::Sandbox::User=root download "$@"; }

# The program that creates roots: the installed one, or the one from its package, which is only unpacked.
mmdebstrap() {
  local unpacked=$roots/tools
  if [[ ! -x $unpacked/usr/bin/mmdebstrap ]] && ! type -P mmdebstrap >/dev/null; then
    say "unpacking mmdebstrap"
    mkdir -p "$unpacked"
    (cd "$unpacked" && { download mmdebstrap || { apt-get -qq update && download mmdebstrap; }; }) ||
      fail "apt-get could not download mmdebstrap"
    dpkg -x "$unpacked"/mmdebstrap_*.deb "$unpacked"
  fi
  PATH=$PATH:$unpacked/usr/bin "${namespaces[@]}" mmdebstrap "$@"
}

# The address of the machine's first package source whose suite matches a pattern.
source_address() {
  apt-get indextargets --format '$(REPO_URI) $(RELEASE)' 'Created-By: Packages' | awk -v suite="$1" '$2 ~ suite { print $1; exit }'
}

# The machine's own sources, adapted to another release if necessary.
package_sources() {
  local release=$1 debian security
  debian=$(source_address '^[a-z]+$')
  security=$(source_address '-security$')
  [[ $debian ]] || fail "apt knows no source of Debian's packages; add one to /etc/apt/sources.list.d and run apt-get update"
  printf 'deb %s %s main\n' "$debian" "$release" "$debian" "$release-updates"
  [[ ! $security ]] || printf 'deb %s %s main\n' "$security" "$release-security"
}

# make ROOT RELEASE PACKAGE…
make_root() {
  local root=$roots/$1 release=$2 reason wanted
  shift 2
  wanted=$(printf '%s\n' "$release" "$@")
  [[ -e $root.packages && $(cat "$root.packages") == "$wanted" ]] && return
  reason=$(obstacle)
  [[ ! $reason ]] || fail "cannot make a root of Debian $release: $reason"
  say "making ${root#"$project/"}: Debian $release with $# packages and what they need"
  rm -rf "$root" "$root.packages" "$root.new"
  mkdir -p "$roots"
  # The lists are kept, so that packages installed later match the existing ones.
  apt-config dump Acquire | grep -E '::(Proxy|Check-Valid-Until|Check-Date)\b' >"$root.apt" || true
  package_sources "$release" | mmdebstrap --quiet --mode=root --variant=minbase --aptopt="$root.apt" --dpkgopt=force-unsafe-io \
    --skip=cleanup/apt/lists --include="$(IFS=,; echo "$*")" "$release" "$root.new" - >&2 ||
    fail "mmdebstrap could not make a root of Debian $release"
  # Installing a package must not start a daemon.
  printf '#!/bin/sh\nexit 101\n' >"$root.new/usr/sbin/policy-rc.d"
  chmod 0755 "$root.new/usr/sbin/policy-rc.d"
  mv "$root.new" "$root"
  echo "$wanted" >"$root.packages"
}

# Runs inside the new namespaces: replaces the machine's root and starts the command.
enter() {
  local name=$1 keep=$2 root=$roots/$1 at=/mnt
  shift 2
  if [[ $keep ]]; then
    mount --bind "$root" "$at"
  else
    # Changes made by a command are kept in memory and discarded.
    mount -t tmpfs -o mode=0755 tmpfs "$at"
    mkdir "$at/upper" "$at/work" "$at/root"
    mount -t overlay -o "lowerdir=$root,upperdir=$at/upper,workdir=$at/work" overlay "$at/root"
    at=$at/root
  fi
  mkdir -p "$at$project" "$project/build/in-$name"
  mount --rbind /dev "$at/dev"
  mount --rbind /sys "$at/sys"
  mount -t proc proc "$at/proc"
  mount -t tmpfs -o mode=0755 tmpfs "$at/run"
  mount -t tmpfs -o mode=1777 tmpfs "$at/tmp"
  mkdir "$at/run/lock"
  mount --bind "$project" "$at$project"
  mount --bind "$project/build/in-$name" "$at$project/build"
  if [[ $keep ]]; then
    # The machine's network configuration, and its certificate authorities.
    cp --dereference /etc/resolv.conf /etc/hosts "$at/etc/"
    cp --dereference /etc/ssl/certs/ca-certificates.crt "$at/etc/ssl/certs/" 2>/dev/null || true
  else
    ip link set lo up
  fi
  mkdir -p "$at/run/machine"
  cd "$at"
  pivot_root . run/machine
  umount --lazy /run/machine
  cd "$project"
  exec env --ignore-environment PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 TERM="${TERM:-dumb}" \
    NODE_EXTRA_CA_CERTS=/etc/ssl/certs/ca-certificates.crt \
    ${CI:+CI="$CI"} "$@"
}

# run_in ROOT KEEP COMMAND…
run_in() {
  [[ $EUID -eq 0 ]] || fail "only root can run commands in a root: run this with sudo"
  [[ -d $roots/$1 ]] || fail "there is no root $1; make it first"
  local -a network=(--net)
  [[ ! $2 ]] || network=()
  exec "${namespaces[@]}" "${network[@]}" "${BASH_SOURCE[0]}" enter "$@"
}

case ${1:-} in
  make) make_root "${@:2}" ;;
  run) run_in "$2" '' "${@:3}" ;;
  keep) run_in "$2" yes "${@:3}" ;;
  enter) enter "${@:2}" ;;
  *) fail "usage: debian_root.sh make ROOT RELEASE PACKAGE… | run ROOT COMMAND… | keep ROOT COMMAND…" ;;
esac
