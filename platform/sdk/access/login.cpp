// Telnet and the console, both through the program login.
#include "sdk/access/services.h"

namespace zevo::access {
namespace {

// The PAM service of remote logins. The login of util-linux, as in Debian 13, has a separate one;
// that of shadow, as in Debian 12, does not know the option.
const char* remoteService(const Server& server) {
  std::string cause;
  const auto version = server.ask({"/bin/login", "--version"}, &cause);
  return version && version->find("util-linux") != std::string::npos ? "remote" : "login";
}

}  // namespace

std::optional<ServiceAccess> consoleAccess(const Server& server) {
  if (!server.has("/bin/login")) return std::nullopt;
  return server.askPam("console", "login");
}

std::optional<ServiceAccess> telnetAccess(const Server& server) {
  const bool isInstalled = server.has("/usr/sbin/telnetd") || server.has("/usr/sbin/in.telnetd");
  if (!isInstalled && !server.runs("telnetd")) return std::nullopt;
  return server.askPam("telnet", remoteService(server));
}

}  // namespace zevo::access
