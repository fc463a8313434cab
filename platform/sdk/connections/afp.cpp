#include "sdk/connections/afp.h"

#include "sdk/connections/account_name.h"
#include "sdk/connections/served_client.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kAfpPort = 548;

bool isAfpd(std::string_view name) {
  return name == "afpd";
}

// The user whom a process with these ids serves; empty while nobody has logged in.
std::string userOf(const UserIds& users, const GroupIds& groups) {
  if (users.effective != 0) return accountName(users.effective);
  return groups.effective != 0 ? "unknown" : "";
}

Outcome appendSession(const Sources& sources, const ServedClient& client,
                      std::vector<Connection>* connections) {
  const auto files = sources.filesOf(*client.process);
  const auto users = files.ok() ? files->userIds() : Reading<UserIds>::like(files);
  const auto groups = users.ok() ? files->groupIds() : Reading<GroupIds>::like(users);
  if (groups.failed()) return Outcome::failure(groups.cause());
  if (!groups.ok()) return Outcome::done();
  std::string user = userOf(*users, *groups);
  if (user.empty()) return Outcome::done();
  connections->push_back({.pid = client.process->pid,
                          .time = sources.startText(*client.process),
                          .from = numericText(client.socket.remote),
                          .user = std::move(user),
                          .descr = {},
                          .type = ZEVO_CURCONN_AFP});
  return Outcome::done();
}

}  // namespace

Outcome readAfp(const Sources& sources, std::vector<Connection>& connections) {
  std::vector<ServedClient> clients;
  Outcome outcome = readServedClients(sources, isAfpd, kAfpPort, &clients);
  for (const ServedClient& client : clients) {
    if (outcome.failed()) break;
    outcome = appendSession(sources, client, &connections);
  }
  return outcome;
}

}  // namespace zevo::connections
