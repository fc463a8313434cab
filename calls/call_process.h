// The process of one call.
#pragma once

#include <chrono>

namespace calls {

// Call this first in a child that serves one call. It resets the signals to those of a new program
// (except that a log without a reader does not end the process) and starts a process group, so that
// programs it starts end with it and terminal keys do not reach it. Signals sent before the fork
// belong to the parent. The process ends some time after `limit` even if nobody ends it.
void beginCallProcess(std::chrono::milliseconds limit);

}  // namespace calls
