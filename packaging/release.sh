# shellcheck shell=bash disable=SC2154
# Debian releases, and the root of one in which the project is built and tested. Sourced by bash after build.sh.

# chosen_release [NAME]: NAME, or the machine's release, or trixie; fails with a message for any other name.
chosen_release() {
  local release=${1:-}
  [[ $release ]] || release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  case $release in
    bookworm | trixie) echo "$release" ;;
    *)
      [[ ! ${1:-} ]] || { echo "unknown release '$1': give bookworm or trixie" >&2; return 2; }
      echo trixie
      ;;
  esac
}

# make_project_root RELEASE: creates build/roots/RELEASE with everything needed for building, packaging and testing,
# unless it exists. Unpacked packages and npm packages are in build/in-RELEASE, the build directory of that root.
make_project_root() {
  local release=$1 debian_root=$here/packaging/debian_root.sh script
  local -a packages
  mapfile -t packages < <("$here/tests/services/packages.sh" --names && "$here/tests/browser/packages.sh" --names)
  packages+=("${build_packages[@]}" "${test_packages[@]}" "${style_packages[@]}" build-essential debhelper lintian)
  # Since Debian 13 another package provides the directory of units.
  [[ $release == bookworm ]] || packages+=(systemd-dev)
  "$debian_root" make "$release" "$release" "${packages[@]}"
  for script in tests/services/packages.sh tests/browser/packages.sh; do
    [[ ! $("$debian_root" run "$release" "$script" --missing) ]] || "$debian_root" keep "$release" "$script"
  done
}
