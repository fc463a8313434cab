// What the daemon answers itself where no process of a call does.
#pragma once

#include <chrono>
#include <poll.h>
#include <vector>

#include "base/file_descriptor.h"
#include "calls/problem.h"

namespace currentconnd {

// Sends answers without ever waiting, and keeps each connection until its client has closed it:
// closed with bytes of the client unread, the kernel would report a broken connection instead of
// the answer. Nobody is kept longer than a limit, and of many at once the last are not.
class FallbackReplies {
 public:
  using Clock = std::chrono::steady_clock;

  explicit FallbackReplies(std::chrono::milliseconds leaveLimit) : leaveLimit_(leaveLimit) {}

  void give(zevo::FileDescriptor connection, calls::Problem problem);
  // Adds what tells that step() has something to do.
  void addTo(std::vector<pollfd>& watched) const;
  // When step() has something to do in any case; the end of time where it never has.
  [[nodiscard]] Clock::time_point due() const;
  void step();
  // For a child: closes all of them.
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
