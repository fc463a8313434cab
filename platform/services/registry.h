// One read of all services.
#pragma once

#include "base/tool_run.h"
#include "services/connection_list.h"
#include "services/gone.h"
#include "services/paths.h"
#include "services/shared_list.h"
#include "services/sources.h"

namespace zevo::connections {

// Replaces *list by the connections of all services, with sanitised texts and with pids that still
// belonged to the scanned processes after everything had been read. Failures of single services are
// noted and logged. Fails if processes or sockets cannot be read; *list is then empty.
Result<void> readConnections(const Paths& paths, const ToolLimits& limits,
                             const Sources::SocketReader& readSockets, const Sources::Log& log,
                             ConnectionList* list);

// The same for one of many calls, as in shared_list.h.
Result<void> readForCall(const Paths& paths, const ToolLimits& limits, const ListCall& call,
                         const Sources::SocketReader& readSockets, const Sources::Log& log,
                         ConnectionList* list);

}  // namespace zevo::connections
