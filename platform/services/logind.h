// The session files of logind.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/gone.h"
#include "services/utmp.h"

namespace zevo::connections {

// The login of a user from the text of one session file; nothing for other sessions (background
// jobs, greeters, or already closing).
std::optional<LoginEntry> parseLogindSession(std::string_view text);

// The logins of all files in the directory `folder`; none if it does not exist. Fails if a file
// cannot be read; *entries then has those of the others.
Result<void> readLogindSessions(const std::string& folder, std::vector<LoginEntry>* entries);

}  // namespace zevo::connections
