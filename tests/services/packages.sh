#!/bin/bash
# Installs the servers and clients that the service tests start inside their namespaces.
#
#   tests/services/packages.sh            installs what is missing, by name; a second run changes nothing
#   tests/services/packages.sh --missing  prints what is missing, one name a line, and changes nothing
#
# Servers that exclude each other as packages, and telnetd, whose package would put a Telnet service into inetd.conf,
# are only unpacked, into build/service-packages/root. No daemon is started, and none that is installed here starts at
# the next boot. Exit status: 0 all there, 1 something could not be had (the reason is printed).
set -euo pipefail

installed_packages=(
  iproute2 python3 libcap2 procps
  curl lighttpd lighttpd-mod-deflate lighttpd-mod-openssl nginx-light apache2 openssl python3-jsonschema
  samba smbclient python3-samba
  openssh-server openssh-client openssh-sftp-server
  vsftpd
  inetutils-telnet
  nfs-ganesha nfs-ganesha-vfs libnfs13
  # What the unpacked servers link against.
  libhiredis0.14 libmemcached11 libmemcachedutil2 libidn2-0 libpcre2-posix3 libpcre2-8-0 libacl1 libncursesw6
  libsodium23 libkrb5-3 libk5crypto3 libcom-err2 libtinfo6 libpam0g libssl3 libcrypt1
)
unpacked_packages=(proftpd-core pure-ftpd inetutils-telnetd)

source_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
unpack_folder=$source_folder/build/service-packages
policy_file=/usr/sbin/policy-rc.d
policy_aside=$policy_file.currentconn-aside
policy_mark='# Put here by tests/services/packages.sh while it installs; safe to remove.'

say() { printf 'service packages: %s\n' "$*" >&2; }

missing_installed() {
  local name
  for name in "${installed_packages[@]}"; do
    [[ $(dpkg-query --show --showformat '${db:Status-Status}' "$name" 2>/dev/null) == installed ]] || echo "$name"
  done
}

missing_unpacked() {
  local name
  for name in "${unpacked_packages[@]}"; do
    [[ -e $unpack_folder/$name.unpacked ]] || echo "$name"
  done
}

as_root() {
  if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi
}

need_root() {
  [[ $EUID -eq 0 ]] && return
  if command -v sudo >/dev/null; then return; fi
  say "these packages are missing and only root can install them: $*"
  say "run this as root, or install sudo, or install them yourself: apt-get install --no-install-recommends $*"
  exit 1
}

# A package's own scripts start its daemon unless this file forbids it. One that was there before comes back as it was.
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

# Takes the services of newly installed packages out of the next boot, as an administrator would.
keep_from_boot() {
  local path name
  for path in $(dpkg-query --listfiles "$@" | sort -u); do
    name=$(basename "$path")
    case $path in
      /etc/init.d/*) as_root update-rc.d "$name" disable >/dev/null 2>&1 || true ;;
      */systemd/system/*.service | */systemd/system/*.socket)
        if command -v systemctl >/dev/null; then as_root systemctl disable "$name" >/dev/null 2>&1 || true; fi
        ;;
    esac
  done
}

apt_get() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600 "$@"
}

download() {
  apt-get -q -o APT::Sandbox::User=root download "$1"
}

install_missing() {
  local before after
  say "installing $*"
  before=$(dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u)
  hold_daemons_back
  apt_get update || say "the package lists could not be renewed; going on with the ones that are here"
  if ! apt_get install --yes --no-install-recommends "$@"; then
    say "apt-get could not install: $*"
    exit 1
  fi
  release_daemons
  after=$(dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u)
  mapfile -t fresh < <(comm -13 <(echo "$before") <(echo "$after"))
  keep_from_boot "${fresh[@]}"
}

unpack() {
  local name=$1 work
  say "unpacking $name into $unpack_folder"
  mkdir -p "$unpack_folder/root"
  work=$(mktemp -d)
  chmod 0755 "$work"
  if ! (cd "$work" && { download "$name" || { apt_get update && download "$name"; }; }); then
    rm -rf "$work"
    say "apt-get could not download $name"
    exit 1
  fi
  dpkg -x "$work"/*.deb "$unpack_folder/root"
  rm -rf "$work"
  touch "$unpack_folder/$name.unpacked"
}

main() {
  local -a wanted unpackable
  mapfile -t wanted < <(missing_installed)
  mapfile -t unpackable < <(missing_unpacked)
  if [[ ${1:-} == --missing ]]; then
    printf '%s\n' ${wanted[@]+"${wanted[@]}"} ${unpackable[@]+"${unpackable[@]}"} | sed '/^$/d'
    return
  fi
  if ((${#wanted[@]})); then
    need_root "${wanted[@]}"
    install_missing "${wanted[@]}"
  fi
  local name
  for name in ${unpackable[@]+"${unpackable[@]}"}; do unpack "$name"; done
}

main "$@"
