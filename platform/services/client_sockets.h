// The connections of service processes. Nothing else examines descriptors.
#pragma once

#include <optional>
#include <vector>

#include "services/sources.h"
#include "services/trust.h"

namespace zevo::connections {

// The TCP connections of a process of the service, by number of descriptor: those of our network
// namespace and of its server's, if that differs. Only the lowest descriptors are examined, and
// only of processes that the service vouches for or that may be its orphans (or descendants of
// one); if there are many possible orphans, only a few descriptors of each, which is noted. Any
// other process has none and is not examined: a user's process may have millions.
Result<std::vector<Socket>> connectionsOf(const Sources& sources, const Process& process,
                                          Family family);

// The TCP connection of the lowest descriptor of a process, which in a server that serves one
// client is the client's: anything opened later has a higher one. Nothing if it has none.
Result<std::optional<Socket>> clientSocket(const Sources& sources, const Process& process,
                                           Family family);

}  // namespace zevo::connections
