#include "sdk/connections/proftpd.h"

#include <string>

#include "sdk/connections/account_name.h"
#include "sdk/connections/served_client.h"

namespace zevo::connections {
namespace {

bool isProftpd(std::string_view name) {
  return name == "proftpd" || name == "in.proftpd";
}

// The user whom the process serves; empty while nobody has logged in. A login in progress keeps
// root as real user, since it has still to become the account that logs in.
std::string userOf(const Title& title, const UserIds& ids) {
  const auto user = proftpdTitleUser(title.first);
  if (user) return std::string(*user);
  return ids.real != 0 ? accountName(ids.real) : std::string();
}

Outcome appendSession(const Sources& sources, const ServedClient& client,
                      std::vector<Connection>* connections) {
  const auto files = sources.filesOf(*client.process);
  const auto title = files.ok() ? files->title() : Reading<Title>::like(files);
  const auto ids = title.ok() ? files->userIds() : Reading<UserIds>::like(title);
  const auto folder = ids.ok() ? files->workingDirectory() : Reading<std::string>::like(ids);
  if (folder.failed()) return Outcome::failure(folder.cause());
  if (!folder.ok()) return Outcome::done();
  std::string user = userOf(*title, *ids);
  if (user.empty()) return Outcome::done();
  connections->push_back({.pid = client.process->pid,
                          .time = sources.startText(*client.process),
                          .from = numericText(client.socket.remote),
                          .user = std::move(user),
                          .descr = *folder,
                          .type = ZEVO_CURCONN_FTP});
  return Outcome::done();
}

}  // namespace

std::optional<std::string_view> proftpdTitleUser(std::string_view title) {
  constexpr std::string_view kBegin = "proftpd: ";
  constexpr std::string_view kBeforeHost = " - ";
  if (!title.starts_with(kBegin)) return std::nullopt;
  title.remove_prefix(kBegin.size());
  // The command behind the colon is the client's; the host before it holds no blank.
  const std::size_t end = title.find(": ");
  if (end == std::string_view::npos) return std::nullopt;
  const std::size_t length = title.substr(0, end).rfind(kBeforeHost);
  if (length == std::string_view::npos || length == 0) return std::nullopt;
  return title.substr(0, length);
}

Outcome readProftpd(const Sources& sources, std::vector<Connection>& connections) {
  std::vector<ServedClient> clients;
  Outcome outcome = readServedClients(sources, isProftpd, std::nullopt, &clients);
  for (const ServedClient& client : clients) {
    if (outcome.failed()) break;
    outcome = appendSession(sources, client, &connections);
  }
  return outcome;
}

}  // namespace zevo::connections
