// Sessions of a service that gives each client processes of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "services/sources.h"
#include "services/trust.h"

namespace zevo::connections {

struct ServiceKind {
  ZEVO_CURCONN_TYPE type;
  Family family;
  std::optional<std::uint16_t> port = {};  // where a process has other connections too
};

// One TCP connection and the processes of the service that hold it.
struct ServedClient {
  Socket socket;
  // The uppermost, then the others in order of pids. Where the uppermost has ended, the one with
  // the lowest pid takes its place.
  std::vector<const Process*> processes;
  // Those of them that hold another TCP connection besides, such as FTP's data.
  std::vector<const Process*> withMore;
  // The service's processes above them have ended: who they serve shows in their ids alone, since
  // their titles may be anybody's, and reading them may never return.
  bool isOrphaned = false;
};

// What a process tells of a user who has logged in.
struct Login {
  const Process* process = nullptr;  // the one whose end ends the session soonest
  std::string user;
  std::string descr;
};

using LoginReading = Result<std::optional<Login>>;

// Whose session `process` of `client` serves; nothing where it serves none: a helper, or a client
// who has not logged in yet.
using LoginReader = std::function<LoginReading(const Sources& sources, const ServedClient& client,
                                               const Process& process)>;

// Appends one record for each client of the service of whose processes one serves a login. The
// client is a process's lowest connection (to the local port of `kind`, where it has one). The
// service has to vouch for the uppermost of its processes; where those above have ended, that one
// must have been given the client by root's server. The time is the uppermost's. In order of pids.
Result<void> readSessions(const Sources& sources, const ServiceKind& kind,
                          const LoginReader& readLogin, std::vector<Connection>& connections);

}  // namespace zevo::connections
