// Checks a name and a password through PAM (service "currentconn").
#pragma once

#include <string>

#include "calls/secret.h"

namespace calls {

inline constexpr const char* kPamService = "currentconn";

struct PamResult {
  bool accepted = false;
  std::string account;  // if accepted: the name determined by PAM
  std::string reason;   // otherwise: for the log only
};

// Authenticates the user, then checks the account. An empty password is never accepted. Waits as
// long as the PAM modules do, but without their delay after a failure: callers add their own. Needs
// root's rights.
PamResult checkPassword(const std::string& name, const Secret& password,
                        const std::string& address);

}  // namespace calls
