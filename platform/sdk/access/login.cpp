// Telnet and the console, both through the program login.
#include "sdk/access/services.h"

namespace zevo::access {

std::optional<ServiceAccess> consoleAccess(const Server& server) {
  if (!server.has("/bin/login")) return std::nullopt;
  return server.askPam("console", "login");
}

std::optional<ServiceAccess> telnetAccess(const Server& server) {
  const bool isInstalled = server.has("/usr/sbin/telnetd") || server.has("/usr/sbin/in.telnetd");
  if (!isInstalled && !server.runs("telnetd")) return std::nullopt;
  std::vector<ServiceAccess> all = {server.askPam("telnet", "login")};
  // Some releases of login have separate rules for remote logins.
  if (server.has("/etc/pam.d/remote")) all.push_back(server.askPam("telnet", "remote"));
  return worstOf(all);
}

}  // namespace zevo::access
