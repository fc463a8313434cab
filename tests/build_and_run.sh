#!/usr/bin/env bash
# Builds the project and runs its tests on the system that this runs on: the machine, or a root that ./test made.
#
#   tests/build_and_run.sh           every test, each where it finds most
#   tests/build_and_run.sh --short   units and services, in one build without sanitizers
#   tests/build_and_run.sh --quick   the unit tests alone, under the sanitizers
#
# What they need must be there.
set -euo pipefail
here=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)
source "$here/packaging/build.sh"
# Most of a test with real processes, servers or a browser is waiting, so three of them share a core.
side_by_side=$((3 * $(nproc)))
# Faster to build. What each file includes and the compiler warns of is checked by the whole run: some compilers warn of more
# where files are compiled together.
in_few_units=(-DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=6)

# run_tests PRESET [ctest options]
run_tests() { (cd "$here/build/$1" && ctest --output-on-failure --no-tests=error -j"$side_by_side" "${@:2}"); }

failed=
case ${1:-} in
  --quick)
    build_preset asan -DCURRENTCONN_TESTS=ON
    run_tests asan -L unit || failed=yes
    ;;
  --short)
    build_preset release -DCURRENTCONN_TESTS=ON "${in_few_units[@]}"
    run_tests release -LE browser || failed=yes
    ;;
  *)
    build_preset asan -DCURRENTCONN_TESTS=ON
    build_preset strict -DCURRENTCONN_TESTS=ON -DCURRENTCONN_UNIT_TESTS=OFF
    echo "== under AddressSanitizer and UndefinedBehaviorSanitizer"
    run_tests asan || failed=yes
    echo "== release"
    run_tests strict -L 'browser|build|release' || failed=yes
    ;;
esac
[[ ! $failed ]]
