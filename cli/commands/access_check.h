// Asks the system what still lets accounts in and what they leave running.
#pragma once

#include <string>
#include <vector>

#include "cli/client/connection.h"

namespace cli {

// Lines on what will still let `user` in once disabled, and on what will still run when the
// connections `theirs` have ended.
std::vector<std::string> foreseenAccess(const std::string& user,
                                        const std::vector<Connection>& theirs);

// Appends lines on what still lets `user`, who is disabled, in and on what still runs. False where
// a service certainly lets them in. Waits up to a second for processes that are about to end.
bool checkAccess(const std::string& user, std::vector<std::string>* lines);

}  // namespace cli
