// FTP sessions of Pure-FTPd.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "base/tool_run.h"
#include "services/sources.h"

namespace zevo::connections {

// The accounts of sessions by pid, from the output of `pure-ftpwho -s`: lines of fields that "|"
// separates, with a backslash before each "|" and backslash inside a field. "?" is the account of a
// login in progress. A pid that is named twice has none.
std::map<pid_t, std::string> parsePureFtpwho(std::string_view output);

// One record for each session, though root's helper stands beside its process. The user is the one
// that pure-ftpwho names, which knows virtual users by their own names; where that program is not
// there, does not know the session or fails (then with a line in the log), the account of the
// process. The description is the current folder as it is found from outside, also where the user
// is confined to a part of the tree.
Result<void> readPureFtpd(const Sources& sources, const ToolLimits& limits,
                          std::vector<Connection>& connections);

}  // namespace zevo::connections
