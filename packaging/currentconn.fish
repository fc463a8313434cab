# fish completion for currentconn

set --local commands list mine kick disable enable disabled report login-link

complete -c currentconn -f
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a list -d 'Show the connections of all users'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a mine -d 'Show the connections of one user'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a kick -d 'End connections'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a disable -d 'Disable accounts and end their connections'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a enable -d 'Enable disabled accounts'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a disabled -d 'Show the disabled accounts'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a report -d 'Write the connections to a file'
complete -c currentconn -n "not __fish_seen_subcommand_from $commands" -a login-link -d 'Print a link that logs in to the page'

complete -c currentconn -s h -l help -d 'Show help'
complete -c currentconn -l version -d 'Show the version'
complete -c currentconn -l config -r -F -d 'Read this configuration'

complete -c currentconn -n '__fish_seen_subcommand_from disable enable login-link' -a '(__fish_complete_users)'
complete -c currentconn -n '__fish_seen_subcommand_from mine kick' -l user -x -a '(__fish_complete_users)' -d 'Only connections of this user'
complete -c currentconn -n '__fish_seen_subcommand_from list kick report' -l filter -x -d 'Only rows that contain this text'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l sort-by -x -a 'time user from resource service' -d 'Order'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l asc -d 'Ascending'
complete -c currentconn -n '__fish_seen_subcommand_from list mine report' -l desc -d 'Descending'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l start -x -d 'Number of connections to skip'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l limit -x -d 'Greatest number of connections to show'
complete -c currentconn -n '__fish_seen_subcommand_from list mine disabled' -l json -d 'Print JSON'
complete -c currentconn -n '__fish_seen_subcommand_from list mine' -l watch -d 'Refresh the list on the screen'
complete -c currentconn -n '__fish_seen_subcommand_from kick' -l from -x -d 'Only connections from this client'
complete -c currentconn -n '__fish_seen_subcommand_from kick' -l service -x -a '@KICKED_SERVICES@' -d 'Only connections over this service'
complete -c currentconn -n '__fish_seen_subcommand_from kick disable' -l yes -d 'Do not ask'
complete -c currentconn -n '__fish_seen_subcommand_from kick disable' -l dry-run -d 'Only show what would be done'
complete -c currentconn -n '__fish_seen_subcommand_from report' -s o -l output -r -F -d 'File to write'
complete -c currentconn -n '__fish_seen_subcommand_from report' -l mode -x -d 'Octal mode of the file'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l url -x -d 'Address of the page'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l view -d 'View-only login'
complete -c currentconn -n '__fish_seen_subcommand_from login-link' -l days -x -d 'Days that a view-only login lasts'
