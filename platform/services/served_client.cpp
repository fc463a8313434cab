#include "services/served_client.h"

#include <algorithm>
#include <map>
#include <utility>

#include "services/client_sockets.h"

namespace zevo::connections {
namespace {

// A process and its connection to the client.
struct Holder {
  const Process* process = nullptr;
  Socket socket;
  bool hasMore = false;  // other connections
};

// The processes that have one connection, in order of pids. A listener briefly has a new client's
// connection too; if its processes have their own sessions, it is distinguished by that.
using Holders = std::map<std::pair<std::uint64_t, pid_t>, std::vector<Holder>>;

Result<Holder> readHolder(const Sources& sources, const ServiceKind& kind, const Process& process) {
  const auto sockets = connectionsOf(sources, process, kind.family);
  if (!sockets) return errorOf(sockets);
  Holder holder;
  for (const Socket& socket : *sockets) {
    const bool isClient = !kind.port || socket.local.port == *kind.port;
    if (isClient && holder.process == nullptr) {
      holder.process = &process;
      holder.socket = socket;
    }
    holder.hasMore |= socket.inode != holder.socket.inode;
  }
  if (holder.process == nullptr) return gone();
  return holder;
}

Result<void> readHolders(const Sources& sources, const ServiceKind& kind, Holders* holders) {
  Result<void> outcome;
  for (const Process* process : sources.processes().named(kind.family)) {
    const auto holder = readHolder(sources, kind, *process);
    addPart(outcome, holder);
    if (holder) (*holders)[{holder->socket.inode, process->session}].push_back(*holder);
  }
  return outcome;
}

// The holder whose parent is not one of `holders`; if several are orphans, the first. Pids reused
// during the scan could form a cycle: then the first.
const Holder& uppermost(const std::vector<Holder>& holders) {
  const auto isBelowAnother = [&holders](const Holder& holder) {
    return std::any_of(holders.begin(), holders.end(), [&holder](const Holder& other) {
      return other.process->pid == holder.process->parent;
    });
  };
  const auto top = std::find_if_not(holders.begin(), holders.end(), isBelowAnother);
  return top != holders.end() ? *top : holders.front();
}

ServedClient clientOf(const std::vector<Holder>& holders) {
  const Holder& top = uppermost(holders);
  ServedClient client;
  client.socket = top.socket;
  client.processes.push_back(top.process);
  for (const Holder& holder : holders) {
    if (holder.process != top.process) client.processes.push_back(holder.process);
    if (holder.hasMore) client.withMore.push_back(holder.process);
  }
  return client;
}

std::vector<ServedClient> gather(const Holders& holders) {
  std::vector<ServedClient> clients;
  for (const auto& [key, group] : holders) clients.push_back(clientOf(group));
  std::sort(clients.begin(), clients.end(), [](const ServedClient& a, const ServedClient& b) {
    return a.processes.front()->pid < b.processes.front()->pid;
  });
  return clients;
}

// Whether the service vouches for the processes of `client`, or they are orphans with a connection
// that root or its server's helper accepted or opened, which users cannot do.
Result<bool> judge(const Sources& sources, const ServiceKind& kind, ServedClient& client) {
  const Process& top = *client.processes.front();
  auto vouched = isVouchedFor(sources, top, kind.family);
  if (!vouched || *vouched) return vouched;
  const uid_t owner = client.socket.owner;
  if (owner != 0 && owner != kind.helper) return false;
  auto orphaned = isOrphan(sources, top, kind.family);
  client.isOrphaned = orphaned && *orphaned;
  return orphaned;
}

// The login of a client: that of the first process that has one. None if the session is just
// ending.
LoginReading loginOf(const Sources& sources, const ServedClient& client,
                     const LoginReader& readLogin) {
  for (const Process* process : client.processes) {
    auto login = readLogin(sources, client, *process);
    if (hasFailed(login) || (login && login->has_value())) return login;
  }
  return std::optional<Login>();
}

Result<void> appendSession(const Sources& sources, const ServiceKind& kind, ServedClient client,
                           const LoginReader& readLogin, std::vector<Connection>* connections) {
  const auto vouched = judge(sources, kind, client);
  if (!vouched || !*vouched) return failureOf(vouched);
  auto login = loginOf(sources, client, readLogin);
  if (!login || !login->has_value()) return failureOf(login);
  connections->push_back({.pid = (*login)->process->pid,
                          .time = sources.startText(*client.processes.front()),
                          .from = numericText(client.socket.remote),
                          .user = std::move((*login)->user),
                          .descr = std::move((*login)->descr),
                          .type = kind.type});
  return {};
}

}  // namespace

Result<void> readSessions(const Sources& sources, const ServiceKind& kind,
                          const LoginReader& readLogin, std::vector<Connection>& connections) {
  Holders holders;
  Result<void> outcome = readHolders(sources, kind, &holders);
  for (ServedClient& client : gather(holders)) {
    addPart(outcome, appendSession(sources, kind, std::move(client), readLogin, &connections));
  }
  return outcome;
}

}  // namespace zevo::connections
