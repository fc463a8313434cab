// Sessions of a service with separate processes per client.
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
  std::optional<std::uint16_t> port = {};  // in case a process has other connections too
  // Besides root, the user as whom root's server opens connections; no user can have such a socket.
  std::optional<uid_t> helper = {};
};

// One TCP connection and the service's processes that have it.
struct ServedClient {
  Socket socket;
  // The uppermost, then the others in order of pids. If the uppermost has ended, the one with the
  // lowest pid replaces it.
  std::vector<const Process*> processes;
  // Those of them with another TCP connection, such as FTP data.
  std::vector<const Process*> withMore;
  // The service's processes above them have ended: only their ids show whom they serve, since their
  // titles cannot be trusted, and reading them may never return.
  bool isOrphaned = false;
};

// The logged-in user of a process.
struct Login {
  const Process* process = nullptr;  // the process whose end ends the session soonest
  std::string user;
  std::string descr;
};

using LoginReading = Result<std::optional<Login>>;

// The login that `process` of `client` serves; nothing if it serves none: a helper, or a client
// that has not logged in yet.
using LoginReader = std::function<LoginReading(const Sources& sources, const ServedClient& client,
                                               const Process& process)>;

// Appends one record per client of the service if one of its processes serves a login. The client
// is a process's lowest connection (to the local port of `kind`, if set). The service must vouch
// for the uppermost of its processes; if those above have ended, it must have received the client
// from root's server. The time is that of the uppermost. In order of pids.
Result<void> readSessions(const Sources& sources, const ServiceKind& kind,
                          const LoginReader& readLogin, std::vector<Connection>& connections);

}  // namespace zevo::connections
