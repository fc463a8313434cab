# fish completion for currentconn

set --local commands list mine kick disable enable disabled report login-link

complete -c currentconn -f
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a list -d 'Show the connections of all users'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a mine -d 'Show the connections of one user'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a kick -d 'End connections'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a disable -d 'Disable accounts and end their connections'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a enable -d 'Undo the disabling of accounts'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a disabled -d 'Show the disabled accounts'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a report -d 'Write the connections to a file'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a login-link -d 'Print a link that logs in to the page'

complete -c currentconn -s h -l help -d 'Show help'
complete -c currentconn -l version -d 'Show the version'
complete -c currentconn -l config -r -F -d 'Read this configuration'

complete -c currentconn -n '__fish_seen_subcommand_from disable enable login-link' -a '(__fish_complete_users)'
complete -c currentconn -n '__fish_seen_subcommand_from mine kick' -l user -x -a '(__fish_complete_users)' -d 'Only of this user'
complete -c currentconn -n '__fish_seen_subcommand_from list kick report' -l filter -x -d 'Only where this text occurs'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l sort-by -x -a 'time user from resource service' -d 'Order'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l asc -d 'Ascending'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l desc -d 'Descending'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l start -x -d 'Skip so many connections'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l limit -x -d 'Show so many connections'
complete -c currentconn -n '__fish_seen_subcommand_from list mine disabled' -l json -d 'Print JSON'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l watch -d 'Show it again and again'
complete -c currentconn -n '__fish_seen_subcommand_from kick' -l from -x -d 'Only from this client'
complete -c currentconn -n '__fish_seen_subcommand_from kick' -l service -x -a '@KICKED_SERVICES@' -d 'Only over this service'
complete -c currentconn -n '__fish_seen_subcommand_from kick disable' -l yes -d 'Do not ask'
complete -c currentconn -n '__fish_seen_subcommand_from kick disable' -l dry-run -d 'Only show what would be done'
complete -c currentconn -n '__fish_seen_subcommand_from report' -s o -l output -r -F -d 'Where to'
complete -c currentconn -n '__fish_seen_subcommand_from report' -l mode -x -d 'Who may read the file'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l url -x -d 'Where the page is'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l view -d 'Only show the list'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l days -x -d 'How long it lasts'
