// One read of all services.
#pragma once

#include <vector>

#include "zevo/read_notes.h"

#include "sdk/connections/connection.h"
#include "sdk/connections/outcome.h"
#include "sdk/connections/paths.h"
#include "sdk/connections/sources.h"
#include "sdk/connections/tool_run.h"

namespace zevo::connections {

struct ConnectionList {
  std::vector<Connection> connections;
  std::vector<ReadNote> notes;  // on what it lacks

  bool operator==(const ConnectionList&) const = default;
};

// Replaces *list by the connections of all services: with texts that are clean, and with pids of
// processes that were still the scanned ones when everything had been read. What cannot be read of
// one service is noted and logged. Fails where processes or sockets cannot be read; *list is then
// empty.
Outcome readConnections(const Paths& paths, const ToolLimits& limits,
                        const Sources::SocketReader& readSockets, const Sources::Log& log,
                        ConnectionList* list);

}  // namespace zevo::connections
