// Ending connections.
#pragma once

#include <vector>

#include "calls/enforce/work.h"

namespace calls::enforce {

Answer planKick(const Work& work, const std::vector<Connection>& wanted);
// The same of the connections that `selection` means.
Answer planKick(const Work& work, const Selection& selection);

// Each of `wanted` once.
Answer performKick(const Work& work, const std::vector<Connection>& wanted);

}  // namespace calls::enforce
