// Disables accounts, which ends their connections.
#pragma once

#include <string>
#include <vector>

#include "calls/enforce/work.h"

namespace calls::enforce {

// Each of `users` once.
Answer planDisable(const Work& work, const std::vector<std::string>& users);
Answer performDisable(const Work& work, const std::vector<std::string>& users);

}  // namespace calls::enforce
