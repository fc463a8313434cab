// The daemon's own answers for calls whose process did not answer.
#pragma once

#include <chrono>
#include <poll.h>
#include <vector>

#include "base/file_descriptor.h"
#include "calls/problem.h"

namespace currentconnd {

// Sends answers without waiting, and keeps each connection until its client has closed it: if it
// were closed with unread bytes of the client, the kernel would reset it and the answer would be
// lost. No connection is kept beyond a limit, and only a limited number at once.
class FallbackReplies {
 public:
  using Clock = std::chrono::steady_clock;

  explicit FallbackReplies(std::chrono::milliseconds leaveLimit) : leaveLimit_(leaveLimit) {}

  void give(zevo::FileDescriptor connection, calls::Problem problem);
  // Adds the descriptors that show that step() has something to do.
  void addTo(std::vector<pollfd>& watched) const;
  // When step() must be called at the latest; the end of time if never.
  [[nodiscard]] Clock::time_point due() const;
  void step();
  // For a child: closes all connections.
  void forget() { leaving_.clear(); }

 private:
  struct Leaving {
    zevo::FileDescriptor connection;
    Clock::time_point until;
  };

  std::chrono::milliseconds leaveLimit_;
  std::vector<Leaving> leaving_;
};

}  // namespace currentconnd
