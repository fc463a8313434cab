#!/usr/bin/env bash
# test_packages.sh [RELEASE]: builds the packages and tries them on a server without a compiler, as check_packages.sh
# says. The first run downloads what such a server installs; later ones need no network. Needs root.
set -euo pipefail
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../.." && pwd)
source "$here/packaging/build.sh"
source "$here/packaging/release.sh"
release=$(chosen_release "${1:-}")
root=$release-server
debian_root=$here/packaging/debian_root.sh
build=$here/build/in-$root
# Processes that were told to rule a control group leave it, and the groups in it, behind.
group=currentconn-packages-test

remove_groups() {
  unshare --mount sh -c "mount -t tmpfs tmpfs /mnt && mkdir /mnt/all && mount -t cgroup2 cgroup2 /mnt/all &&
    cd /mnt/all && if [ -d $group ]; then find $group -depth -type d -exec rmdir {} +; fi"
}

"$here/package" --release "$release"
# A maker's host builds from what the packages install.
"$debian_root" run "$release" sh -c "dpkg --install build/packages/currentconn_*.deb build/packages/currentconn-dev_*.deb >/dev/null &&
  tests/install/check_maker.sh /usr"
"$debian_root" make "$root" "$release" \
  ca-certificates curl dbus iproute2 libpam-systemd login openssh-client openssh-server procps systemd systemd-sysv
rm -rf "$build/packages"
mkdir -p "$build"
cp -r "$here/build/packages/$release" "$build/packages"
packages=("$here"/build/packages/currentconn{,-page}_\*.deb)
# The root keeps what it has downloaded as long as it is kept itself.
if [[ ! -e $here/build/roots/$root.downloaded || $here/build/roots/$root.packages -nt $here/build/roots/$root.downloaded ]]; then
  "$debian_root" keep "$root" sh -c "apt-get -qq update && apt-get -qq -y install --no-install-recommends --download-only ${packages[*]}"
  touch "$here/build/roots/$root.downloaded"
fi
trap remove_groups EXIT
status=0
"$debian_root" run "$root" tests/packages/boot.sh tests/packages/check_packages.sh "$here/build/packages" >&2 || status=$?
cat "$build/packages-test.log"
exit "$status"
