#include "services/proftpd.h"

#include <string>
#include <utility>

#include "services/containers.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

bool isProftpd(std::string_view name) {
  return name == "proftpd" || name == "in.proftpd";
}

// The user that the process serves; empty while nobody has logged in. A login in progress keeps
// root as real user, since it has not yet changed to the account.
std::string userOf(const Sources& sources, const Process& process, const Title& title,
                   const UserIds& ids) {
  const auto user = proftpdTitleUser(title.first);
  if (user) return std::string(*user);
  return ids.real != 0 ? accountOf(sources, process, ids.real) : std::string();
}

LoginReading readLogin(const Sources& sources, const ServedClient& /*client*/,
                       const Process& process) {
  const auto files = sources.filesOf(process);
  const auto title = readTitle(sources, process);
  const auto ids = files.and_then(&ProcessFiles::userIds);
  const auto folder = files.and_then(&ProcessFiles::workingDirectory);
  if (!title || !ids || !folder) return errorOf(title, ids, folder);
  std::string user = userOf(sources, process, *title, *ids);
  if (user.empty()) return std::optional<Login>();
  return std::optional<Login>({&process, std::move(user), *folder});
}

}  // namespace

std::optional<std::string_view> proftpdTitleUser(std::string_view title) {
  constexpr std::string_view kBegin = "proftpd: ";
  constexpr std::string_view kBeforeHost = " - ";
  if (!title.starts_with(kBegin)) return std::nullopt;
  title.remove_prefix(kBegin.size());
  // The command after the colon comes from the client; the host before it contains no space.
  const std::size_t end = title.find(": ");
  if (end == std::string_view::npos) return std::nullopt;
  const std::size_t length = title.substr(0, end).rfind(kBeforeHost);
  if (length == std::string_view::npos || length == 0) return std::nullopt;
  return title.substr(0, length);
}

Result<void> readProftpd(const Sources& sources, std::vector<Connection>& connections) {
  return readSessions(sources, {ZEVO_CURCONN_FTP, isProftpd}, readLogin, connections);
}

}  // namespace zevo::connections
