# shellcheck shell=bash
# bash completion for currentconn

# The options of the command $1, or the commands if it is ''.
_currentconn_words() {
  local common='--config --help --version' order='--sort-by --asc --desc'
  case $1 in
    list) echo "--filter $order --start --limit --json --watch $common" ;;
    mine) echo "--user $order --start --limit --json --watch $common" ;;
    kick) echo "--user --from --service --filter --yes --dry-run $common" ;;
    disable) echo "--yes --dry-run $common" ;;
    enable) echo "$common" ;;
    disabled) echo "--json $common" ;;
    report) echo "--filter $order --output --mode $common" ;;
    login-link) echo "--url --view --days $common" ;;
    *) echo "list mine kick disable enable disabled report login-link $common" ;;
  esac
}

# Completes the current word $2 from the words $1.
_currentconn_offer() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

# Adds the accounts that begin with $1. The shell inserts them as they are, and a directory may have a name that it would
# run as a command.
_currentconn_offer_accounts() {
  local account
  while IFS= read -r account; do
    printf -v account %q "$account"
    COMPREPLY+=("$account")
  done < <(compgen -u -- "$1")
}

_currentconn() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' word
  COMPREPLY=()
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $word in
      list | mine | kick | disable | enable | disabled | report | login-link)
        command=$word
        break
        ;;
    esac
  done
  case $previous in
    --sort-by) _currentconn_offer 'time user from resource service' "$current" ;;
    --service) _currentconn_offer '@KICKED_SERVICES@' "$current" ;;
    --user) _currentconn_offer_accounts "$current" ;;
    --config | --output | -o)
      compopt -o filenames # quotes them
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      ;;
    --filter | --from | --start | --limit | --url | --mode) ;;
    *)
      _currentconn_offer "$(_currentconn_words "$command")" "$current"
      case $command in
        disable | enable | login-link) _currentconn_offer_accounts "$current" ;;
      esac
      ;;
  esac
}

complete -F _currentconn currentconn
