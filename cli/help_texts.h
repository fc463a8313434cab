// The texts of --help, and hints of single commands.
#pragma once

namespace cli {

inline constexpr const char* kProgramHelp =
    "Shows who is connected to this server, over which service, from which address\n"
    "and since when. Ends connections and disables accounts.";

inline constexpr const char* kProgramExamples = R"(Examples:
  currentconn list                  all connections, newest first
  currentconn list --filter cifs    connections that contain a text
  currentconn list --watch          refresh the list on the screen
  currentconn kick --user alice     end the connections of alice
  currentconn list --help           help on a command

Exit status: 0 done, 1 the work failed, 2 wrong usage or configuration,
3 administrator rights required, 4 too few administrators would remain.)";

inline constexpr const char* kListHelp = "Show the connections of all users";

inline constexpr const char* kListExamples = R"(Examples:
  currentconn list --sort-by user --asc     by user name
  currentconn list --filter 10.20.0.7       clients at this address
  currentconn list --start 50 --limit 50    the second page of 50
  currentconn list --watch=0.5              refresh twice a second; Ctrl-C quits
  currentconn list --json                   for programs
)";

inline constexpr const char* kMineHelp = "Show the connections of one user (default: the caller)";

inline constexpr const char* kMineExamples = R"(Examples:
  currentconn mine                          the caller's own connections
  currentconn mine --user alice             the connections of alice
  currentconn mine --user alice --watch     refresh them on the screen
)";

inline constexpr const char* kKickHelp = "End connections";

inline constexpr const char* kKickExamples =
    R"(Shows the connections that meet all conditions, asks, and ends them. This takes
1 to 6 seconds. NFS connections and console logins cannot be ended. One SMB
process can serve several users, whose connections then end together.

Examples:
  currentconn kick 4711                      the connection of process 4711
  currentconn kick --user alice              all connections of alice
  currentconn kick --service ssh --from 10.20.0.7
  currentconn kick --user alice --dry-run    show what would end)";

inline constexpr const char* kDisableHelp = "Disable accounts and end their connections";

inline constexpr const char* kDisableExamples =
    R"(The accounts expire at once, all or none, and their Samba entries are disabled.
Then their connections are ended. A service that checks neither still lets them
in; each service that does, or may, is named. "currentconn enable" undoes this.

Examples:
  currentconn disable alice                  asks for confirmation
  currentconn disable alice bob --yes        does not ask
  currentconn disable alice --dry-run        show what would be done)";

inline constexpr const char* kEnableHelp = "Enable disabled accounts";

inline constexpr const char* kEnableExamples =
    R"(Restores the expiry that the accounts had before they were disabled, and the
flags of their Samba entries. An expiry that was changed since is kept.

Examples:
  currentconn enable alice
  currentconn enable alice bob)";

inline constexpr const char* kDisabledHelp = "Show the disabled accounts";

inline constexpr const char* kDisabledExamples =
    R"(Lists the accounts that were disabled here: when, by whom, earlier expiry.

Examples:
  currentconn disabled
  currentconn disabled --json                for programs)";

inline constexpr const char* kReportHelp = "Write the connections to a file as an HTML page";

inline constexpr const char* kReportExamples = R"(Examples:
  currentconn report                         to currentlog.html
  currentconn report --filter cifs -o smb.html
  currentconn report -o - | mail -s connections admin)";

inline constexpr const char* kLoginLinkHelp = "Print a link that logs in to the page once";

inline constexpr const char* kLoginLinkExamples =
    R"(The link is valid for five minutes. The first person to open it is logged in
without a password, so do not share it.

Examples:
  currentconn login-link                     as root
  currentconn login-link alice
  currentconn login-link --view --days 90    for a wall display
  currentconn login-link --url https://files.example.org/connections/)";

inline constexpr const char* kNoFilterInMine =
    "\"mine\" shows all connections of one user and takes no --filter; see "
    "\"currentconn list --help\"";

}  // namespace cli
