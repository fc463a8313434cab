// The permitted age of a list of connections.
#pragma once

#include <chrono>

#include "zevo/export.h"

namespace zevo {

// From now on ZEVOCurConnGet in this process may return a list whose read began up to `age` before
// the call. Otherwise no list is older than its call. For automatic refreshes only: callers that
// end connections need a current list.
ZEVO_EXPORT void acceptListAge(std::chrono::milliseconds age);

}  // namespace zevo
