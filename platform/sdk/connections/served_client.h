// Sessions of a service that gives each client processes of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sdk/connections/sources.h"
#include "sdk/connections/trust.h"

namespace zevo::connections {

struct ServiceKind {
  ZEVO_CURCONN_TYPE type;
  Family family;
  std::optional<std::uint16_t> port = {};  // where a process has other connections too
};

// One TCP connection and the processes of the service that hold it.
struct ServedClient {
  Socket socket;
  std::vector<const Process*> processes;  // the uppermost, then those below it in order of pids
};

// What a process tells of a user who has logged in.
struct Login {
  const Process* process = nullptr;  // its SIGTERM ends the session
  std::string user;
  std::string descr;
};

using LoginReading = Reading<std::optional<Login>>;

// Whose session `process` of `client` serves; nothing where it serves none: a helper, or a client
// who has not logged in yet.
using LoginReader = std::function<LoginReading(const ServedClient& client, const Process& process)>;

// Appends one record for each client of the service of whose processes one serves a login. The
// client is a process's lowest connection (to the local port of `kind`, where it has one), and the
// service has to vouch for the uppermost of its processes. In order of pids.
Outcome readSessions(const Sources& sources, const ServiceKind& kind, const LoginReader& readLogin,
                     std::vector<Connection>& connections);

}  // namespace zevo::connections
