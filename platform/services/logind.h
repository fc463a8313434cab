// The session files of logind.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/gone.h"
#include "services/utmp.h"

namespace zevo::connections {

// The login of a user that the text of one session file records; nothing for other sessions (of
// background jobs, greeters, or already closing).
std::optional<LoginEntry> parseLogindSession(std::string_view text);

// Those of all files of `folder`; none where there is no such folder. Fails where one cannot be
// read; *entries then has those of the others.
Result<void> readLogindSessions(const std::string& folder, std::vector<LoginEntry>* entries);

}  // namespace zevo::connections
