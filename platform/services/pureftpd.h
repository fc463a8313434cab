// FTP sessions of Pure-FTPd.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "base/tool_run.h"
#include "services/sources.h"

namespace zevo::connections {

// The accounts of sessions by pid, from the output of `pure-ftpwho -s`: lines of fields separated
// by "|", with a backslash before each "|" and backslash in a field. "?" is the account of a login
// in progress. A pid that occurs twice has none.
std::map<pid_t, std::string> parsePureFtpwho(std::string_view output);

// One record per session, although root has a helper process beside it. The user is the one
// reported by pure-ftpwho, which knows the names of virtual users; if that program is missing, does
// not know the session or fails (then with a line in the log), the account of the process. The
// description is the working directory as seen from outside, even if the user is confined to a part
// of the tree.
Result<void> readPureFtpd(const Sources& sources, const ToolLimits& limits,
                          std::vector<Connection>& connections);

}  // namespace zevo::connections
