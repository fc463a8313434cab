#compdef currentconn
# zsh completion for currentconn

_currentconn() {
  local -a common order watched commands
  common=('(-h --help)'{-h,--help}'[show help]' '--config[read this configuration]:file:_files')
  order=('--sort-by[order]:field:(time user from resource service)' '(--desc)--asc[ascending]' '(--asc)--desc[descending]')
  watched=('--start[number of connections to skip]:number:' '--limit[greatest number of connections to show]:number:' '--json[print JSON]'
    '--watch=-[refresh the list on the screen]:seconds:')
  commands=(
    'list:show the connections of all users'
    'mine:show the connections of one user'
    'kick:end connections'
    'disable:disable accounts and end their connections'
    'enable:enable disabled accounts'
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
        list) _arguments $common $order $watched '--filter[only rows that contain this text]:text:' ;;
        mine) _arguments $common $order $watched '--user[connections of this user]:user:_users' ;;
        kick)
          _arguments $common '--user[only connections of this user]:user:_users' '--from[only connections from this client]:address:' \
            '--service[only connections over this service]:service:(@KICKED_SERVICES@)' \
            '--filter[only rows that contain this text]:text:' '--yes[do not ask]' \
            '--dry-run[only show what would be done]' '*:pid:'
          ;;
        disable) _arguments $common '--yes[do not ask]' '--dry-run[only show what would be done]' '*:user:_users' ;;
        enable) _arguments $common '*:user:_users' ;;
        disabled) _arguments $common '--json[print JSON]' ;;
        report)
          _arguments $common $order '--filter[only rows that contain this text]:text:' \
            '(-o --output)'{-o,--output}'[file to write]:file:_files' '--mode[octal mode of the file]:mode:'
          ;;
        login-link)
          _arguments $common '--url[address of the page]:url:' '--view[view-only login]' \
            '--days[days that a view-only login lasts]:days:' '1:user:_users'
          ;;
      esac
      ;;
  esac
}

_currentconn "$@"
