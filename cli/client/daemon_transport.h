// The daemon of this server, over its local socket.
#pragma once

#include <chrono>
#include <string>

#include "cli/client/transport.h"

namespace cli {

class DaemonTransport : public Transport {
 public:
  // A daemon that does not let us in within `limit` is not there.
  DaemonTransport(std::string socketPath, std::chrono::seconds limit);

  // Whether root listens there: another account's answers would not be believed. The connection is
  // kept for the first call. Also true where whoever listens does not let us in: the call says so.
  [[nodiscard]] bool isThere();

  zevo::Result<Link> connect() override;

 private:
  std::string socketPath_;
  std::chrono::seconds limit_;
  zevo::FileDescriptor connection_;  // not used yet
};

}  // namespace cli
