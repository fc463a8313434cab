# bash completion for currentconn

# The words that may follow, for the command (or '') $1.
_currentconn_words() {
  local listing='--sort-by --asc --desc --start --limit --json --watch'
  case $1 in
    list) echo "--filter $listing --config --help --version" ;;
    mine) echo "--user $listing --config --help --version" ;;
    *) echo 'list mine --config --help --version' ;;
  esac
}

_currentconn() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case $word in
      list | mine)
        command=$word
        break
        ;;
    esac
  done
  case $previous in
    --sort-by) mapfile -t COMPREPLY < <(compgen -W 'time who from descr type' -- "$current") ;;
    --user) mapfile -t COMPREPLY < <(compgen -u -- "$current") ;;
    --config) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --filter | --start | --limit) COMPREPLY=() ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$(_currentconn_words "$command")" -- "$current") ;;
  esac
}

complete -F _currentconn currentconn
