#!/usr/bin/env bash
# check_maker.sh TREE: the makers' example builds from an installation alone and gives the answers that are known. TREE
# is a prefix (/usr where currentconn-dev is installed), or a build, which is then installed for this.
set -euo pipefail
scratch=$(mktemp -d)
server=
trap 'kill $server 2>/dev/null || true; rm -rf "$scratch"' EXIT
tree=$1
flags='-Wall -Wextra -Werror'
if [[ -e $1/CMakeCache.txt ]]; then
  tree=$scratch/tree
  cmake --install "$1" --prefix "$tree" >/dev/null
  if grep -q '^CURRENTCONN_SANITIZE:BOOL=ON' "$1/CMakeCache.txt"; then
    flags+=' -fsanitize=address,undefined -fno-sanitize-recover=undefined'
    # What the report keeps on purpose.
    printf 'leak:copyText\nleak:newLogInfoList\n' >"$scratch/leaks"
    export LSAN_OPTIONS=suppressions=$scratch/leaks:print_suppressions=0
  fi
fi
documents=$tree/share/doc/currentconn-dev
module=$tree/lib/currentconn/modules/ZEVO.Core.CurrentConnection.so

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

build_example() {
  cmake -S "$documents/examples/maker" -B "$scratch/maker" -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_FLAGS="$flags" &&
    cmake --build "$scratch/maker"
}

# The same host on the installed platform, by the build line of the guide.
build_stock_host() {
  local line
  line=$(zcat -f "$documents"/hosting.md* | grep '^g++ ')
  (cd "$documents/examples/maker" &&
    PKG_CONFIG_PATH=$tree/share/pkgconfig bash -ec "${line/-o host/$flags -o $scratch/stock_host}")
}

# And by CMake.
build_cmake_host() {
  mkdir "$scratch/cmake_host"
  cat >"$scratch/cmake_host/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(currentconn REQUIRED)
add_executable(host $documents/examples/maker/host.cpp)
target_link_libraries(host PRIVATE currentconn::host)
END
  cmake -S "$scratch/cmake_host" -B "$scratch/cmake_host" -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_CXX_FLAGS="$flags" &&
    cmake --build "$scratch/cmake_host"
}

call() { "$scratch/maker/bin/host" "$scratch/maker/modules/${module##*/}" "$MAKER_STATE/sessions" "$@"; }

# answers WHAT ANSWER ARGUMENT…: what the example's host prints, without the time.
answers() {
  local what=$1 expected=$2 answer
  shift 2
  answer=$(call "$@" | sed -E 's/,"systime":"[^"]*"//') || true
  [[ $answer == "$expected" ]] || fail "$what" "  expected: $expected" "  found:    $answer"
}

# row FROM PID TIME TYPE WHO DESCR CAN_BE_KICKED
row() {
  printf '{"can_be_kicked":%s,"descr":"%s","from":"%s","pid":%s,"time":"%s","type":"%s","user_can_be_disabled":%s,"who":"%s"}' \
    "$7" "$6" "$1" "$2" "$3" "$4" "$7" "$5"
}

for part in build_example build_stock_host build_cmake_host; do
  "$part" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
done

export MAKER_STATE=$scratch/state
mkdir "$MAKER_STATE"
cp "$(type -P sleep)" "$scratch/smbd"
"$scratch/smbd" 600 &
server=$!
# One connection to two shares, one of a hidden account, and two NFS clients, whom no process serves.
cat >"$MAKER_STATE/connections" <<END
$server 4 alice 10.0.0.7 "2026-11-20 21:26:24" photos
$server 4 alice 10.0.0.7 "2026-11-20 21:30:00" "music <new>"
3 10 bob 10.0.0.8 "2026-11-20 20:00:00" pts/1
2 7 guest 10.0.0.11 "2026-11-20 17:00:00" /
0 12 "" 10.0.0.9 "2026-11-20 19:00:00" v4
0 12 "" 10.0.0.10 "2026-11-20 18:00:00" v3
END
echo '"c0ffee" {"client":"10.0.0.5","user":"alice","since":"2026-11-20 16:00:00","number":7}' >"$MAKER_STATE/sessions"
alice=$(row 10.0.0.7 $server "2026-11-20 21:30:00" CIFS alice "music <new>, photos" true)
bob=$(row 10.0.0.8 3 "2026-11-20 20:00:00" SSH bob pts/1 true)
nfs=$(row 10.0.0.9 0 "2026-11-20 19:00:00" NFS "" v4 false),$(row 10.0.0.10 0 "2026-11-20 18:00:00" NFS "" v3 false)
login=$(row 10.0.0.5 7 "2026-11-20 16:00:00" HTTP/HTTPS alice browser true)
everything="0 {\"items\":[$alice,$bob,$nfs,$login],\"total\":5}"

answers "an administrator sees all but hidden accounts" "$everything" admin admin list
answers "a user sees their own connections" "0 {\"items\":[$alice,$login],\"total\":2}" user Alice list_by_user
answers "a user may not list all" "105 null" user alice list
answers "a number of another type counts as absent" "$everything" admin admin list '{"limit":"1","start":true,"sort_by":7}'
answers "a text is no number" "$everything" admin admin list '{"limit":"+1","start":" 1"}'
answers "a fraction is none either" "$everything" admin admin list '{"limit":1.5}'
answers "1.0 is 1" "0 {\"items\":[$alice],\"total\":5}" admin admin list '{"limit":1.0}'
answers "a bad element ends nothing" "0 null" admin admin kick_connection '{"service_conn":[7,{"pid":-1}],"http_conn":[[]]}'

report=$(call admin admin download)
[[ $report == $'Content-Type:application/xxx\r\nContent-Disposition:attachment; filename="currentlog.html"\r\n\r\n<html>'* ]] ||
  fail "the report does not begin with its header lines" "$report"
[[ $report == *'<h2> Who is connected </h2>'*'<th>Share &amp; folder</th></tr>'* ]] ||
  fail "the report's titles are not as the platform gives them" "$report"
[[ $report == *'>music &#60;new&#62;, photos</td>'* ]] || fail "the report's cells are not encoded" "$report"

answers "a connection is ended" "0 null" admin admin kick_connection "{\"service_conn\":[$alice]}"
status=0
wait "$server" || status=$?
[[ $status == 143 ]] || fail "its process ended with $status, not by SIGTERM"
server=
[[ -s $MAKER_STATE/sessions ]] || fail "her login ended with her connection"
answers "a login is ended" "0 null" admin admin kick_connection "{\"http_conn\":[$login]}"
[[ ! -s $MAKER_STATE/sessions ]] || fail "the login's line is still there"

answers "an account is disabled" "0 null" admin boss disable_user '{"users":["bob"]}'
[[ $(cat "$MAKER_STATE/expired") == "bob 1" ]] || fail "it has not expired"
answers "the last administrator is not" "7100 null" admin boss disable_user '{"users":["alice","admin"]}'
[[ $(cat "$MAKER_STATE/expired") == "bob 1" ]] || fail "another account of that call has expired"
rm "$MAKER_STATE/connections"
answers "connections that cannot be read fail the list" "117 null" admin admin list

for host in "$scratch/stock_host" "$scratch/cmake_host/host"; do
  answer=$("$host" "$module" "$scratch/run/sessions" admin root list '{"limit":1}') || fail "no answer: $answer"
  [[ $answer == '0 {"items":['*'"total":'* ]] || fail "the installed platform does not list" "$answer"
done
