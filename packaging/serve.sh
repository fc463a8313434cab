#!/usr/bin/env bash
# Serves the page on http://127.0.0.1:8088 from a build, with a separate daemon and lighttpd, which write only to one
# directory under /run. Prints a link that logs in once. Ctrl-C ends both and leaves nothing behind.
#
#   packaging/serve.sh BUILD_DIRECTORY [PORT]
set -euo pipefail

build=$(readlink -f "$1")
port=${2:-8088}
packaging=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")" && pwd)
folder=
children=()

fail() {
  echo "currentconn: $*" >&2
  exit 1
}

clean_up() {
  trap - EXIT
  trap '' HUP INT TERM
  for child in "${children[@]}"; do kill -TERM "$child" 2>/dev/null || true; done
  for child in "${children[@]}"; do wait "$child" 2>/dev/null || true; done
  [[ -z $folder ]] || rm -rf "$folder"
}

write_daemon_configuration() {
  cat >"$folder/currentconn.toml" <<END
session_file = "$folder/state/sessions"
list_folder = "$folder/list"
web_socket = "$folder/web.sock"
web_group = "www-data"
local_socket = "$folder/local.sock"
pam_folder = "$folder/pam"
END
  mkdir -m 0700 "$folder/pam"
  # The PAM rules of this server, without installing a file.
  sed 's,^@include \(.*\),@include /etc/pam.d/\1,' "$packaging/pam/currentconn" >"$folder/pam/currentconn"
}

write_server_configuration() {
  # The web server's account may not have access to the checkout.
  cp -r "$build/page" "$folder/page"
  chmod -R u=rwX,go=rX "$folder/page"
  cat >"$folder/lighttpd.conf" <<END
var.page_folder = "$folder/page"
var.web_socket = "$folder/web.sock"
server.bind = "127.0.0.1"
server.port = $port
server.username = "www-data"
server.groupname = "www-data"
include "$packaging/lighttpd/page.conf"
END
}

fail_at_port() { fail "port $port is taken; end what listens there, or run './run serve PORT'"; }

# wait_for WHAT CHILD COMMAND…
wait_for() {
  local what=$1 child=$2
  shift 2
  for _ in {1..100}; do
    if ! kill -0 "$child" 2>/dev/null; then
      ! answers 2>/dev/null || fail_at_port
      fail "$what did not start"
    fi
    if "$@" 2>/dev/null; then return; fi
    sleep 0.1
  done
  fail "$what did not start within ten seconds"
}

all_run() {
  local child
  for child in "${children[@]}"; do kill -0 "$child" 2>/dev/null || return; done
}

answers() { (exec 3<>"/dev/tcp/127.0.0.1/$port"); }

# listens PROCESS: whether this process listens on the port, and not another one that was faster.
listens() {
  local address inode
  printf -v address '0100007F:%04X' "$port"
  inode=$(awk -v address="$address" '$2 == address && $4 == "0A" { print $10; exit }' /proc/net/tcp)
  [[ -n $inode && $(readlink "/proc/$1/fd/"*) == *"socket:[$inode]"* ]]
}

main() {
  [[ $EUID -eq 0 ]] || fail "reading everybody's connections needs root: run 'sudo ./run serve'"
  ! answers 2>/dev/null || fail_at_port
  folder=$(mktemp -d /run/currentconn-serve.XXXXXX)
  trap clean_up EXIT
  trap 'exit 0' HUP INT TERM
  chmod 0755 "$folder"
  write_daemon_configuration
  write_server_configuration
  "$build/bin/currentconnd" --config "$folder/currentconn.toml" </dev/null &
  children+=($!)
  wait_for currentconnd "${children[0]}" test -S "$folder/local.sock"
  lighttpd -D -f "$folder/lighttpd.conf" </dev/null &
  children+=($!)
  wait_for lighttpd "${children[1]}" listens "${children[1]}"
  echo "Open this link within five minutes; it works once and logs you in as the administrator:"
  "$build/bin/currentconn" login-link --config "$folder/currentconn.toml" --url "http://127.0.0.1:$port/"
  echo "Without TLS a browser sends the login to every port of 127.0.0.1: do not open pages there that you do not trust."
  echo "Ctrl-C quits."
  # `wait -n` would not return for a process that ended before the call.
  exec 3<> <(:)
  while all_run; do read -rt 1 -u 3 || true; done
  fail "a server ended by itself"
}

main
