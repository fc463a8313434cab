// Where what an account has left running is looked for.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "host/account_access.h"

namespace zevo::access {

// Of the account `name` with the user id `uid`; `root` goes before every path.
LeftRunning leftRunning(const std::string& root, const std::string& name, uid_t uid,
                        const std::vector<pid_t>& except);

}  // namespace zevo::access
