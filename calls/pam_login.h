// Checking a name and a password with the server's own rules (PAM, service "currentconn").
#pragma once

#include <string>

#include "calls/secret.h"

namespace calls {

inline constexpr const char* kPamService = "currentconn";

struct PamResult {
  bool accepted = false;
  std::string account;  // where accepted: the name that the rules settled on
  std::string reason;   // else: for the log alone
};

// Authentication, then the check that the account may be used. An empty password is never accepted.
// Waits as long as the modules of the service do, but not for their delay after a failure: callers
// delay themselves. Needs root's rights.
PamResult checkPassword(const std::string& name, const Secret& password,
                        const std::string& address);

}  // namespace calls
