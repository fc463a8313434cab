# Which Debian release a root is made of. Sourced by bash.

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
