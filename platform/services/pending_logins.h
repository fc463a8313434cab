// SSH logins that are under way: their processes.
#pragma once

#include <set>
#include <string>

#include "services/sources.h"

namespace zevo::connections {

// The one of `users`, accounts of this machine, as whom somebody logs in through root's process
// `process` of sshd; empty if it serves no such login, or if the session has begun.
Result<std::string> pendingUser(const Sources& sources, const Process& process,
                                const std::set<std::string>& users);

}  // namespace zevo::connections
