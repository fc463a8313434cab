#include <utility>

#include "services/account_name.h"
#include "services/collectors.h"
#include "services/containers.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kAfpPort = 548;

bool isAfpd(std::string_view name) {
  return name == "afpd";
}

// The user served by a process with these ids; empty while nobody has logged in.
std::string userOf(const Sources& sources, const Process& process, const UserIds& users,
                   const GroupIds& groups) {
  if (users.effective != 0) return accountOf(sources, process, users.effective);
  return groups.effective != 0 ? std::string(kUnknownUser) : std::string();
}

LoginReading readLogin(const Sources& sources, const ServedClient& /*client*/,
                       const Process& process) {
  const auto files = sources.filesOf(process);
  const auto users = files.and_then(&ProcessFiles::userIds);
  const auto groups = files.and_then(&ProcessFiles::groupIds);
  if (!users || !groups) return errorOf(users, groups);
  std::string user = userOf(sources, process, *users, *groups);
  if (user.empty()) return std::optional<Login>();
  return std::optional<Login>({&process, std::move(user), {}});
}

}  // namespace

Result<void> readAfp(const Sources& sources, std::vector<Connection>& connections) {
  return readSessions(sources, {ZEVO_CURCONN_AFP, isAfpd, kAfpPort}, readLogin, connections);
}

}  // namespace zevo::connections
