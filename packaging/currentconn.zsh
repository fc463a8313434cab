#compdef currentconn
# zsh completion for currentconn

_currentconn() {
  local -a common order watched commands
  common=('(-h --help)'{-h,--help}'[show help]' '--config[read this configuration]:file:_files')
  order=('--sort-by[order]:field:(time user from resource service)' '(--desc)--asc[ascending]' '(--asc)--desc[descending]')
  watched=('--start[skip so many connections]:number:' '--limit[show so many connections]:number:' '--json[print JSON]'
    '--watch=-[show it again and again]:seconds:')
  commands=(
    'list:show the connections of all users'
    'mine:show the connections of one user'
    'kick:end connections'
    'disable:disable accounts and end their connections'
    'enable:undo the disabling of accounts'
    'disabled:show the disabled accounts'
    'report:write the connections to a file'
    'login-link:print a link that logs in to the page'
  )
  local context state line
  _arguments -C $common '--version[show the version]' '1:command:->command' '*::argument:->argument'
  case $state in
    command) _describe command commands ;;
    argument)
      case $words[1] in
        list) _arguments $common $order $watched '--filter[only where this text occurs]:text:' ;;
        mine) _arguments $common $order $watched '--user[whose connections]:user:_users' ;;
        kick)
          _arguments $common '--user[only of this user]:user:_users' '--from[only from this client]:address:' \
            '--service[only over this service]:service:(@KICKED_SERVICES@)' \
            '--filter[only where this text occurs]:text:' '--yes[do not ask]' \
            '--dry-run[only show what would be done]' '*:pid:'
          ;;
        disable) _arguments $common '--yes[do not ask]' '--dry-run[only show what would be done]' '*:user:_users' ;;
        enable) _arguments $common '*:user:_users' ;;
        disabled) _arguments $common '--json[print JSON]' ;;
        report)
          _arguments $common $order '--filter[only where this text occurs]:text:' \
            '(-o --output)'{-o,--output}'[where to]:file:_files' '--mode[who may read the file]:mode:'
          ;;
        login-link)
          _arguments $common '--url[where the page is]:url:' '--view[only show the list]' \
            '--days[how long it lasts]:days:' '1:user:_users'
          ;;
      esac
      ;;
  esac
}

_currentconn "$@"
