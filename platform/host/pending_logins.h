// SSH logins that are under way, for hosts that have disabled accounts.
#pragma once

#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

#include "zevo/export.h"

namespace zevo {

struct PendingLogin {
  std::string user;
  pid_t pid = 0;  // root's process of sshd
  bool hasEnded = false;
};

// Ends all logins under way as one of `users`, with or without a password so far: sshd may ask
// PAM's account rules and then wait for the client, so such a login succeeds even if the account
// was disabled in the meantime. Sessions are left alone: they are connections. Waits some seconds
// at most. A sentence in *cause if not all logins could be looked for. Needs effective uid 0, and
// may throw std::bad_alloc.
ZEVO_EXPORT std::vector<PendingLogin> endPendingLogins(const std::set<std::string>& users,
                                                       std::string* cause);

}  // namespace zevo
