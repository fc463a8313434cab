// The daemon of this server, over its local socket.
#pragma once

#include <chrono>
#include <string>

#include "cli/client/transport.h"

namespace cli {

class DaemonTransport : public Transport {
 public:
  // A daemon that does not accept the connection within `limit` counts as absent.
  DaemonTransport(std::string socketPath, std::chrono::seconds limit);

  // Whether root listens there: answers of another account are not trusted. The connection is kept
  // for the first call. Also true if the listener does not accept the connection; the call then
  // reports that.
  [[nodiscard]] bool isThere();

  zevo::Result<Link> connect() override;

 private:
  std::string socketPath_;
  std::chrono::seconds limit_;
  zevo::FileDescriptor connection_;  // not used yet
};

}  // namespace cli
