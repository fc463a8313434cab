#include "host/account_access.h"

#include <set>

#include "base/read_file.h"
#include "host/config.h"
#include "sdk/access/services.h"
#include "sdk/account_files.h"

namespace zevo::access {
namespace {

constexpr std::size_t kLongestShadow = 256UL * 1024 * 1024;

// Those of `accounts` with a line of their own in the shadow file.
std::vector<std::string> localOnes(const std::vector<std::string>& accounts) {
  std::string text;
  if (readFile("/etc/shadow", kLongestShadow, &text)) return {};
  const std::set<std::string> wanted(accounts.begin(), accounts.end());
  std::vector<std::string> local;
  for (const ShadowEntry& entry : parseShadow(text)) {
    if (wanted.contains(std::string(entry.name))) local.emplace_back(entry.name);
  }
  return local;
}

std::vector<ServiceAccess> accessOf(const Server& server, const std::string& account,
                                    AccessMoment moment, SambaDatabases& databases) {
  std::vector<ServiceAccess> all;
  for (const auto& one :
       {opensshAccess(server, account), vsftpdAccess(server, account),
        proftpdAccess(server, account), pureFtpdAccess(server, account), telnetAccess(server),
        consoleAccess(server), sambaAccess(server, account, moment, databases),
        afpAccess(server, account), pageAccess(server, config().pamFolder)}) {
    if (one) all.push_back(*one);
  }
  return all;
}

}  // namespace
}  // namespace zevo::access

std::map<std::string, std::vector<zevo::ServiceAccess>> zevo::accountAccess(
    const std::vector<std::string>& accounts, AccessMoment moment) {
  std::map<std::string, std::vector<ServiceAccess>> all;
  for (const std::string& account : accounts) all[account];
  const std::vector<std::string> local = access::localOnes(accounts);
  if (local.empty()) return all;
  const ToolLimits limits{.time = config().toolLimit};
  const access::Server server("", limits);
  access::SambaDatabases databases({config().pdbedit, limits}, local);
  for (const std::string& account : local)
    all[account] = access::accessOf(server, account, moment, databases);
  return all;
}
