// Finds what an account left running.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

#include "host/account_access.h"

namespace zevo::access {

// Of the accounts with these names and user ids; `root` goes before every path.
std::map<std::string, LeftRunning> leftRunning(const std::string& root,
                                               const std::map<std::string, uid_t>& accounts,
                                               const std::vector<pid_t>& except);

}  // namespace zevo::access
