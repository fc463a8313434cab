#!/bin/bash
# Installs the servers and clients that the service tests start inside their namespaces.
#
#   tests/services/packages.sh            installs what is missing, by name; a second run changes nothing
#   tests/services/packages.sh --missing  prints what is missing, one name per line, and changes nothing
#   tests/services/packages.sh --names    prints the packages that it installs, one name per line
#
# Servers whose packages conflict, telnetd, whose package would add a Telnet service to inetd.conf, a module that would
# enable itself in the machine's Apache, and a further source of accounts for the name service are only unpacked, into
# build/service-packages/root. No daemon is started, and no installed one starts at the next boot. Exit status: 0 all
# installed, 1 something could not be installed (the reason is printed).
set -euo pipefail

installed_packages=(
  iproute2 python3 libcap2 procps
  curl lighttpd lighttpd-mod-deflate lighttpd-mod-openssl lighttpd-modules-lua nginx-light apache2
  e2fsprogs fail2ban nftables openssl python3-jsonschema systemd
  samba smbclient python3-samba
  openssh-server openssh-client openssh-sftp-server
  vsftpd
  inetutils-telnet libutempter0 uidmap
  nfs-ganesha nfs-ganesha-vfs libnfs-utils
)
unpacked_packages=(libapache2-mod-security2 libnss-extrausers proftpd-core proftpd-mod-crypto pure-ftpd
  pure-ftpd-common inetutils-telnetd)

source_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
unpack_folder=$source_folder/build/service-packages
installer=$source_folder/packaging/install_packages.sh

say() { printf 'service packages: %s\n' "$*" >&2; }

missing_unpacked() {
  local name
  for name in "${unpacked_packages[@]}"; do
    [[ -e $unpack_folder/$name.unpacked ]] || echo "$name"
  done
}

download() {
  apt-get -q -o APT::Sandbox::User=root download "$1"
}

renew_lists() {
  if [[ $EUID -eq 0 ]]; then apt-get -q update; else sudo apt-get -q update; fi
}

unpack() {
  local name=$1 work
  say "unpacking $name into $unpack_folder"
  mkdir -p "$unpack_folder/root"
  work=$(mktemp -d)
  chmod 0755 "$work"
  if ! (cd "$work" && { download "$name" || { renew_lists && download "$name"; }; }); then
    rm -rf "$work"
    say "apt-get could not download $name"
    exit 1
  fi
  # The libraries of its programs, whose names differ between releases.
  dpkg-deb --field "$work"/*.deb Depends | tr ',' '\n' | sed -nE 's/^ *(lib[^ ]+).*/\1/p' | xargs -r "$installer"
  dpkg -x "$work"/*.deb "$unpack_folder/root"
  rm -rf "$work"
  touch "$unpack_folder/$name.unpacked"
}

main() {
  if [[ ${1:-} == --names ]]; then
    printf '%s\n' "${installed_packages[@]}"
    return
  fi
  local -a unpackable
  mapfile -t unpackable < <(missing_unpacked)
  if [[ ${1:-} == --missing ]]; then
    "$installer" --missing "${installed_packages[@]}"
    printf '%s\n' ${unpackable[@]+"${unpackable[@]}"} | sed '/^$/d'
    return
  fi
  "$installer" "${installed_packages[@]}"
  local name
  for name in ${unpackable[@]+"${unpackable[@]}"}; do unpack "$name"; done
}

main "$@"
