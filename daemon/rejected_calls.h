// Counts rejected calls for the log.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "calls/identity.h"

namespace currentconnd {

// Counts them, so that a flood of calls does not flood the log: one line per second and caller.
class RejectedCalls {
 public:
  using Clock = std::chrono::steady_clock;

  void count(calls::SocketKind socketKind, uid_t peer, Clock::time_point now);
  // When lines are due; the end of time if none are.
  [[nodiscard]] Clock::time_point due() const { return due_; }
  // The lines for everything counted since the last time.
  std::vector<std::string> takeLines();

 private:
  std::map<std::pair<calls::SocketKind, uid_t>, std::size_t> counts_;
  Clock::time_point due_ = Clock::time_point::max();
};

}  // namespace currentconnd
