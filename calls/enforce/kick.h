// Ends connections.
#pragma once

#include <vector>

#include "calls/enforce/work.h"

namespace calls::enforce {

Answer planKick(const Work& work, const std::vector<Connection>& wanted);
// The same for the connections in `selection`.
Answer planKick(const Work& work, const Selection& selection);

// Each of `wanted` once.
Answer performKick(const Work& work, const std::vector<Connection>& wanted);

}  // namespace calls::enforce
