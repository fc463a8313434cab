// How old a list of connections may be.
#pragma once

#include <chrono>

#include "zevo/export.h"

namespace zevo {

// From now on ZEVOCurConnGet of this process may give a list whose reading began up to `age` before
// the call. Without this no list is older than its call. For calls whose caller only looks at the
// list and soon looks again: whoever ends connections needs one that is true now.
ZEVO_EXPORT void acceptListAge(std::chrono::milliseconds age);

}  // namespace zevo
