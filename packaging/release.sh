# shellcheck shell=bash disable=SC2154
# Debian releases, and the root of one in which the project is built and tested. Sourced by bash after build.sh.

# chosen_release [NAME]: NAME, else the machine's release, else trixie; fails with a sentence on a third.
chosen_release() {
  local release=${1:-}
  [[ $release ]] || release=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  case $release in
    bookworm | trixie) echo "$release" ;;
    *)
      [[ ! ${1:-} ]] || { echo "there is no root of the release '$1': bookworm and trixie are the ones" >&2; return 2; }
      echo trixie
      ;;
  esac
}

# make_project_root RELEASE: makes build/roots/RELEASE with all that building, packaging and testing need, unless it is
# there. What is only unpacked or comes from npm lies in build/in-RELEASE, which is that root's build folder.
make_project_root() {
  local release=$1 debian_root=$here/packaging/debian_root.sh script
  local -a packages
  mapfile -t packages < <("$here/tests/services/packages.sh" --names && "$here/tests/browser/packages.sh" --names)
  packages+=("${build_packages[@]}" "${test_packages[@]}" "${style_packages[@]}" build-essential debhelper lintian)
  # The folder of units is told by another package since Debian 13.
  [[ $release == bookworm ]] || packages+=(systemd-dev)
  "$debian_root" make "$release" "$release" "${packages[@]}"
  for script in tests/services/packages.sh tests/browser/packages.sh; do
    [[ ! $("$debian_root" run "$release" "$script" --missing) ]] || "$debian_root" keep "$release" "$script"
  done
}
