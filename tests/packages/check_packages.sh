#!/usr/bin/env bash
# check_packages.sh FOLDER: what an operator does with the packages of FOLDER, on a server that boot.sh has started:
# install, list, end a real SSH session through the daemon and the page, upgrade, remove, purge. Without network: what
# the packages need lies in apt's cache.
set -euo pipefail
packages=$1
page=https://localhost:8443
export DEBIAN_FRONTEND=noninteractive HOME=/root
scratch=$(mktemp -d)

passed() { echo "ok: $*"; }

fail() {
  echo "FAILED: $*" >&2
  journalctl --no-pager --quiet --unit 'currentconn*' >&2 || true
  exit 1
}

# check WHAT COMMAND…
check() {
  local what=$1
  shift
  "$@" >"$scratch/output" 2>&1 || { cat "$scratch/output" >&2; fail "$what"; }
  passed "$what"
}

# until_true WHAT COMMAND…
until_true() {
  local what=$1
  shift
  for _ in {1..200}; do
    if "$@" >/dev/null 2>&1; then
      passed "$what"
      return
    fi
    sleep 0.1
  done
  fail "$what"
}

never() { ! "$@"; }

install_packages() { apt-get -q -y install --no-install-recommends "$@"; }

listens_on() { ss -Hltn "sport = :$1" | grep -q .; }

make_accounts() {
  useradd --create-home --shell /bin/bash alice
  useradd --create-home --shell /bin/bash boss
  groupadd --force sudo
  usermod --append --groups sudo boss
  echo 'boss:Correct-Horse-7' | chpasswd
}

# A real client, from an address of its own.
connect_alice() {
  mkdir -p /run/sshd ~alice/.ssh
  [[ -e $scratch/key ]] || ssh-keygen -q -t ed25519 -N '' -f "$scratch/key"
  install -m 0600 -o alice -g alice "$scratch/key.pub" ~alice/.ssh/authorized_keys
  systemctl start ssh.service
  ssh -i "$scratch/key" -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o LogLevel=ERROR \
    alice@127.0.0.1 sleep 300 </dev/null >"$scratch/ssh" 2>&1 &
  ssh_client=$!
  until_true "alice's SSH session is listed" sh -c 'currentconn list | grep -E "^alice +SSH +127.0.0.1"'
}

# A login at the machine itself, which logind learns of. It takes the terminal over, as that of its caller.
log_in_at_console() {
  { sleep 300 | script --quiet --command 'exec login -f alice' "$scratch/console" >/dev/null 2>&1; } &
}

has_one_login() {
  [[ $(currentconn list | grep -cE '^alice +LOGIN ') == 1 ]] && loginctl list-sessions --no-legend | grep -q alice
}

ssh_has_ended() { ! kill -0 "$ssh_client" 2>/dev/null; }

call() { curl -sS --fail-with-body --insecure -b "$scratch/jar" -c "$scratch/jar" -H 'Content-Type: application/json' "$@"; }

log_in() { call -d '{"name":"boss","password":"Correct-Horse-7"}' "$page/api/login"; }

is_logged_in() { call "$page/api/whoami" | grep -q '"user":"boss"'; }

ssh_row_of_alice() {
  call "$page/api/ZEVO.Core.CurrentConnection/1/list?filter=alice" | grep -oE '\{[^{}]*"SSH"[^{}]*\}'
}

end_alice_over_the_page() {
  call -d "{\"action\":\"kick\",\"connections\":[$(ssh_row_of_alice)]}" "$page/api/perform" | grep -q '"fate":"ended"'
}

# The same packages as the next version.
make_next_version() {
  local package folder
  mkdir "$scratch/next"
  for package in "$packages"/*.deb; do
    folder=$(mktemp -d)
    dpkg-deb -R "$package" "$folder/root"
    sed -i -E 's/^Version: .*/&+next/; s/^(Depends:.*currentconn \(= )([^)]*)/\1\2+next/' "$folder/root/DEBIAN/control"
    dpkg-deb -b "$folder/root" "$scratch/next/" >/dev/null
  done
}

leftovers() {
  find / -xdev \( -path /proc -o -path /sys -o -path "$scratch" -o -path "${packages%/build/*}" -o -path /root -o -path /var/log \
    -o -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache \) -prune -o -iname '*currentconn*' -print
}

check "there is no compiler" never command -v c++
make_accounts

check "the program's package installs" install_packages "$packages"/currentconn_*.deb
check "its sockets are there" test -S /run/currentconn/local.sock -a -S /run/currentconn/web.sock
check "everybody sees their own connections" runuser -u alice -- currentconn mine
check "the daemon answers" systemctl is-active currentconnd.service
check "its configuration is a conffile" sh -c 'dpkg-query --show --showformat "\${Conffiles}" currentconn | grep -q /etc/currentconn/currentconn.toml'
connect_alice
check "the command line ends it" currentconn kick --user alice --yes
until_true "its client has ended" ssh_has_ended

log_in_at_console
until_true "a console login is one row" has_one_login

check "the page's package installs" install_packages "$packages"/currentconn-page_*.deb
until_true "the page is served" listens_on 8443
check "no site is served on port 80" never listens_on 80
check "nor is one after the next start" never systemctl is-enabled --quiet lighttpd.service
check "the page is the page" sh -c "curl -sS --insecure $page/ | grep -q '<html'"
check "an administrator logs in" log_in
connect_alice
check "the page ends her SSH session" end_alice_over_the_page
until_true "her client has ended" ssh_has_ended

make_next_version
before=$(systemctl show --property MainPID --value currentconnd.service)
check "both are upgraded" install_packages "$scratch"/next/currentconn_*.deb "$scratch"/next/currentconn-page_*.deb
until_true "the page is served again" listens_on 8443
until_true "the login is still there" is_logged_in
check "another daemon runs" test "$before" != "$(systemctl show --property MainPID --value currentconnd.service)"
check "port 80 stays shut" never listens_on 80

check "they are removed" apt-get -q -y remove currentconn currentconn-page
check "nothing listens any more" never listens_on 8443
check "the configuration stays" test -e /etc/currentconn/currentconn.toml
check "they are purged" apt-get -q -y purge currentconn currentconn-page
[[ ! $(leftovers) ]] || fail "purging left $(leftovers)"
passed "nothing of them is left"
echo "all of it works"
