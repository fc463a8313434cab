// The texts of --help, and sentences on a command's own limits.
#pragma once

namespace cli {

inline constexpr const char* kProgramHelp =
    "Shows who is connected to this server: over which service, from which address,\n"
    "since when.";

inline constexpr const char* kProgramExamples = R"(Examples:
  currentconn list                  everybody, the newest connection first
  currentconn list --filter cifs    only where a text occurs
  currentconn list --watch          keep the list on the screen
  currentconn list --help           more on one command

Exit status: 0 done, 1 the work failed, 2 wrong usage or configuration,
3 not an administrator.)";

inline constexpr const char* kListHelp = "Show the connections of all users";

inline constexpr const char* kListExamples = R"(Examples:
  currentconn list --sort-by who --asc      by user name
  currentconn list --filter 10.20.0.7       whoever works from this address
  currentconn list --start 50 --limit 50    the second page of 50
  currentconn list --watch=0.5              look twice a second; Ctrl-C ends it
  currentconn list --json                   for programs
)";

inline constexpr const char* kMineHelp = "Show the connections of one user, by default one's own";

inline constexpr const char* kMineExamples = R"(Examples:
  currentconn mine                          the caller's own connections
  currentconn mine --user alice             alice's
  currentconn mine --user alice --watch     keep them on the screen
)";

inline constexpr const char* kNoFilterInMine =
    "\"mine\" shows all connections of one user and takes no --filter; see "
    "\"currentconn list --help\"";

}  // namespace cli
