#include "sdk/access/services.h"

namespace zevo::access {

// The daemon checks the expiry of every caller itself, independently of PAM.
std::optional<ServiceAccess> pageAccess(const Server& server, const std::string& pamFolder) {
  const std::string folder = pamFolder.empty() ? "/etc/pam.d" : pamFolder;
  if (!server.has(folder + "/currentconn")) return std::nullopt;
  return refused("page", "own-check");
}

}  // namespace zevo::access
