// One read of all services.
#pragma once

#include "base/tool_run.h"
#include "services/connection_list.h"
#include "services/gone.h"
#include "services/paths.h"
#include "services/shared_list.h"
#include "services/sources.h"

namespace zevo::connections {

// Replaces *list by the connections of all services: with texts that are clean, and with pids of
// processes that were still the scanned ones when everything had been read. What cannot be read of
// one service is noted and logged. Fails where processes or sockets cannot be read; *list is then
// empty.
Result<void> readConnections(const Paths& paths, const ToolLimits& limits,
                             const Sources::SocketReader& readSockets, const Sources::Log& log,
                             ConnectionList* list);

// The same for one of many calls, as shared_list.h has it.
Result<void> readForCall(const Paths& paths, const ToolLimits& limits, const ListCall& call,
                         const Sources::SocketReader& readSockets, const Sources::Log& log,
                         ConnectionList* list);

}  // namespace zevo::connections
