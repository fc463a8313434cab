// A registry of any size, in the place of the real one.
#pragma once

#include <cstddef>

#include "zevo/connections.h"

namespace bench {

// Makes the next call of ZEVOCurConnGet hand out `count` records in random order (always the same
// ones): each of a process, time and user of its own as on a busy server. Call it outside of what
// is measured.
void prepareConnections(std::size_t count);

// The records of the prepared block, which the next ZEVOCurConnGet gives away.
const _tag_ZEVO_CURCONN_* preparedConnections();

}  // namespace bench
