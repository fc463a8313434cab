// The connections that processes of services hold. Nothing else looks at descriptors.
#pragma once

#include <optional>
#include <vector>

#include "services/sources.h"
#include "services/trust.h"

namespace zevo::connections {

// The TCP connections of a process of the service, by number of descriptor: those of our network
// namespace and those of its server's, where that is another one. Only the lowest descriptors are
// looked at, of what the service vouches for or what may be an orphan of it (or stand below one);
// where many may be orphans, only a few of each, which is noted. Any other process has none, and is
// not asked: a user's may hold millions.
Result<std::vector<Socket>> connectionsOf(const Sources& sources, const Process& process,
                                          Family family);

// The TCP connection of the lowest descriptor of a process, which in a server that serves one
// client is the client's: whatever the process opens later has a higher one. Nothing where it has
// none.
Result<std::optional<Socket>> clientSocket(const Sources& sources, const Process& process,
                                           Family family);

}  // namespace zevo::connections
