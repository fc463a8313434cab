// A child process for each call.
#pragma once

#include <chrono>

#include "calls/system_service.h"
#include "cli/client/transport.h"

namespace cli {

// Serves root's calls as the daemon would, and works without the daemon. A call that has begun is
// completed even if this program ends.
class ChildTransport : public Transport {
 public:
  // Each call ends after `limit` at the latest.
  ChildTransport(calls::SystemService& system, std::chrono::milliseconds limit)
      : system_(system), limit_(limit) {}

  zevo::Result<Link> connect() override;

 private:
  calls::SystemService& system_;
  std::chrono::milliseconds limit_;
};

}  // namespace cli
