// The process of one call.
#pragma once

#include <chrono>

namespace calls {

// To be called by a child that serves one call, before anything else: it begins with the signals of
// a fresh program, but that a log which nobody reads any more does not end it, and a process group
// of its own, so that what it starts ends with it and keys of a terminal do not reach it. What was
// sent to both processes before they parted is the parent's. It ends a while after `limit` even
// where nobody ends it.
void beginCallProcess(std::chrono::milliseconds limit);

}  // namespace calls
