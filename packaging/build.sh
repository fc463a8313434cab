# shellcheck shell=bash disable=SC2154,SC2034
# Shared by ./run, ./test and ./package: the packages that a build needs, and one build. Sourced by bash with $here set
# to the project's directory.

build_packages=(
  ca-certificates cmake esbuild g++ ninja-build pkg-config
  libcli11-dev libexpected-dev libicu-dev libjson-c-dev libjsoncpp-dev libmnl-dev libpam0g-dev libsystemd-dev libtomlplusplus-dev nettle-dev
)
test_packages=(abigail-tools binutils libbenchmark-dev libgmock-dev libgtest-dev)
style_packages=(clang-format clang-tidy flake8 shellcheck)

install_build_packages() {
  "$here/packaging/install_packages.sh" "${build_packages[@]}" "$@"
}

# build_preset PRESET [cmake options]: prints nothing if there is nothing to do, and everything if it fails.
build_preset() {
  local preset=$1 log="$here/build/$1.log"
  shift
  mkdir -p "$here/build"
  if ! [[ -w $here/build ]]; then
    echo "cannot write $here/build: it belongs to another user; remove it or run this as its owner" >&2
    return 1
  fi
  if ! (cd "$here" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset") >"$log" 2>&1; then
    cat "$log" >&2
    echo "the $preset build failed; see the output above or $log" >&2
    return 1
  fi
}
