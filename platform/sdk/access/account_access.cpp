#include "host/account_access.h"

#include <algorithm>

#include "base/read_file.h"
#include "host/config.h"
#include "sdk/access/services.h"
#include "sdk/account_files.h"

namespace zevo::access {
namespace {

constexpr std::size_t kLongestShadow = 256UL * 1024 * 1024;

bool isLocal(const std::string& account) {
  std::string text;
  if (readFile("/etc/shadow", kLongestShadow, &text)) return false;
  const auto entries = parseShadow(text);
  return std::any_of(entries.begin(), entries.end(),
                     [&](const ShadowEntry& entry) { return entry.name == account; });
}

}  // namespace
}  // namespace zevo::access

std::vector<zevo::ServiceAccess> zevo::accountAccess(const std::string& account,
                                                     AccessMoment moment) {
  if (!access::isLocal(account)) return {};
  const ToolLimits limits{.time = config().toolLimit};
  const access::Server server("", limits);
  std::vector<ServiceAccess> all;
  for (const auto& one :
       {access::opensshAccess(server, account), access::vsftpdAccess(server),
        access::proftpdAccess(server), access::pureFtpdAccess(server), access::telnetAccess(server),
        access::consoleAccess(server),
        access::sambaAccess(server, account, moment, {config().pdbedit, limits}),
        access::afpAccess(server), access::pageAccess(server, config().pamFolder)}) {
    if (one) all.push_back(*one);
  }
  return all;
}
