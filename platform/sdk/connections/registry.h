// One read of all services.
#pragma once

#include <vector>

#include "sdk/connections/connection.h"
#include "sdk/connections/outcome.h"
#include "sdk/connections/paths.h"
#include "sdk/connections/sources.h"
#include "sdk/connections/tool_run.h"

namespace zevo::connections {

// Replaces *connections by those of all services: with texts that are clean, and with pids of
// processes that were still the scanned ones when everything had been read. Fails where one running
// service could not be read at all; *connections is then empty.
Outcome readConnections(const Paths& paths, const ToolLimits& limits,
                        const Sources::SocketReader& readSockets, const Sources::Log& log,
                        std::vector<Connection>* connections);

}  // namespace zevo::connections
