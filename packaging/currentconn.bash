# shellcheck shell=bash
# bash completion for currentconn

# The possible next words after the command $1 (or '').
_currentconn_words() {
  local common='--config --help --version' order='--sort-by --asc --desc'
  case $1 in
    list) echo "--filter $order --start --limit --json --watch $common" ;;
    mine) echo "--user $order --start --limit --json --watch $common" ;;
    kick) echo "--user --from --service --filter --yes --dry-run $common" ;;
    disable) echo "$(compgen -u) --yes --dry-run $common" ;;
    enable) echo "$(compgen -u) $common" ;;
    disabled) echo "--json $common" ;;
    report) echo "--filter $order --output --mode $common" ;;
    login-link) echo "$(compgen -u) --url --view --days $common" ;;
    *) echo "list mine kick disable enable disabled report login-link $common" ;;
  esac
}

# Completes the current word $2 from the words $1.
_currentconn_offer() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_currentconn() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' word
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
    --user) mapfile -t COMPREPLY < <(compgen -u -- "$current") ;;
    --config | --output | -o) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --filter | --from | --start | --limit | --url | --mode) COMPREPLY=() ;;
    *) _currentconn_offer "$(_currentconn_words "$command")" "$current" ;;
  esac
}

complete -F _currentconn currentconn
