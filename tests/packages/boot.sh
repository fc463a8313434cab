#!/usr/bin/env bash
# boot.sh SCRIPT ARGUMENT…: starts the root that this runs in as a server, with systemd as its first process, runs a
# script there, prints what that wrote and ends with its exit status. For `debian_root.sh run`.
set -euo pipefail
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
log=$(cd "$here/../.." && pwd)/build/packages-test.log
group=/sys/fs/cgroup/currentconn-packages-test

make_unit() {
  cat >/etc/systemd/system/packages-test.service <<END
[Unit]
After=basic.target
FailureAction=exit
FailureActionExitStatus=1
[Service]
Type=oneshot
ExecStart=/bin/bash -c '"\$0" "\$@"; systemctl exit \$?' $*
StandardOutput=truncate:$log
StandardError=inherit
TimeoutStartSec=900
END
  mkdir -p /etc/systemd/system/multi-user.target.wants
  ln -s ../packages-test.service /etc/systemd/system/multi-user.target.wants/
  ln -sf /usr/lib/systemd/system/multi-user.target /etc/systemd/system/default.target
}

# Devices that every program may need, and none of the machine's terminals. Debian 12 empties /tmp when it starts.
make_devices() {
  mount -t tmpfs -o mode=755 tmpfs /mnt
  cp --archive /dev/{null,zero,full,random,urandom,tty,ptmx} /mnt/
  mkdir /mnt/{pts,shm}
  ln -s /proc/self/fd /mnt/fd
  mount -t devpts -o newinstance,ptmxmode=0666,mode=0620,gid=5 devpts /mnt/pts
  mount --bind /mnt/pts/ptmx /mnt/ptmx
  mount --move /mnt /dev
}

# systemd rules a control group of its own, below which it sees none of the machine's.
enter_group() {
  mount -t tmpfs tmpfs /sys/fs/cgroup
  mount -t cgroup2 cgroup2 /sys/fs/cgroup
  mkdir -p "$group"
  echo $$ >"$group/cgroup.procs"
}

if [[ $1 != --started ]]; then
  # The installer's programs start what they install, as on any server.
  rm -f /usr/sbin/policy-rc.d
  make_unit "$(readlink -f "$1")" "${@:2}"
  make_devices
  enter_group
  exec unshare --cgroup "$here/boot.sh" --started
fi
# An older mount(8) does not put a file system over itself.
umount --lazy /sys/fs/cgroup
mount -t cgroup2 cgroup2 /sys/fs/cgroup
# Services' mounts, such as those of their credentials, reach them by propagation.
mount --make-rshared /
export container=test
exec /lib/systemd/systemd --log-target=null --show-status=no
