// The clients of a service that gives each of them processes of its own.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "sdk/connections/sources.h"
#include "sdk/connections/trust.h"

namespace zevo::connections {

// One TCP connection and the processes of the service that hold it.
struct ServedClient {
  Socket socket;
  const Process* process = nullptr;     // the uppermost of them
  std::vector<const Process*> helpers;  // the others, which descend from it, in order of pids
};

// Replaces *clients by those of the processes of `family`, in order of pids: for each process its
// lowest connection (to the local port `port`, where one is given). A client whose uppermost
// process the service does not vouch for is left out. A client may still be logging in.
Outcome readServedClients(const Sources& sources, Family family, std::optional<std::uint16_t> port,
                          std::vector<ServedClient>* clients);

}  // namespace zevo::connections
