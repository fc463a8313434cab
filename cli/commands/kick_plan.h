// What a kick would do.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/client/connection.h"
#include "cli/commands/selection.h"

namespace cli {

struct KickPlan {
  std::vector<Connection> services;   // each ended by a call of its own
  std::vector<Connection> webLogins;  // ended together
  std::vector<Connection> refused;    // selected, but not to be ended
  std::vector<std::uint32_t> absent;  // asked for by pid, but not there

  bool operator==(const KickPlan&) const = default;
};

// Why nothing here ends a connection, as the end of a sentence; empty where something does.
std::string whyOutOfReach(const Connection& connection);
// Why a connection cannot be ended by itself, in the same way.
std::string whyNotEnded(const Connection& connection);

// "SSH of alice from 10.20.0.2, pid 12".
std::string describe(const Connection& connection);

// `connections` are those that the list method gives for `selection`'s filter.
KickPlan makeKickPlan(const std::vector<Connection>& connections, const Selection& selection);

// Pids by which `plan` would end several connections, although one number was given for one: those
// of web logins are counted apart from processes.
std::vector<std::uint32_t> ambiguousPids(const KickPlan& plan, const Selection& selection);

// What the plan hits besides what its rows show, a sentence each: other users of an SMB process,
// further logins of a web user, the connection over which the caller works, whose processes are
// `ownProcesses`.
std::vector<std::string> sideEffects(const KickPlan& plan,
                                     const std::vector<std::uint32_t>& ownProcesses);

}  // namespace cli
