#include "sdk/connections/served_client.h"

#include <map>
#include <utility>

namespace zevo::connections {
namespace {

// A process and the client's connection that it holds.
struct Holder {
  const Process* process = nullptr;
  Socket socket;
};

using Holders = std::map<pid_t, Holder>;

Reading<std::optional<Socket>> lowestSocket(const Sources& sources, const ProcessFiles& files,
                                            std::optional<std::uint16_t> port) {
  using Result = Reading<std::optional<Socket>>;
  if (!port) return clientSocket(sources, files);
  const auto descriptors = files.sockets();
  if (!descriptors.ok()) return Result::like(descriptors);
  const Reading<SocketTable>& table = sources.sockets();
  if (!table.ok()) return Result::like(table);
  for (const SocketDescriptor& descriptor : *descriptors) {
    const Socket* socket = table->find(descriptor.inode);
    if (socket != nullptr && socket->local.port == *port) return std::optional<Socket>(*socket);
  }
  return std::optional<Socket>();
}

Outcome readHolders(const Sources& sources, const ServiceKind& kind, Holders* holders) {
  Outcome outcome;
  for (const Process* process : sources.processes().named(kind.family)) {
    const auto files = sources.filesOf(*process);
    const auto socket = files.ok() ? lowestSocket(sources, *files, kind.port)
                                   : Reading<std::optional<Socket>>::like(files);
    if (socket.failed()) outcome.add(Outcome::failure(socket.cause()));
    if (socket.ok() && socket->has_value()) (*holders)[process->pid] = {process, **socket};
  }
  return outcome;
}

// The holder above `holder` that serves the same client. A listener holds a new client's connection
// for a moment too; where it gives its processes sessions of their own it is told apart by that.
const Holder* above(const Holders& holders, const Holder& holder) {
  const auto found = holders.find(holder.process->parent);
  if (found == holders.end()) return nullptr;
  const Holder& parent = found->second;
  const bool servesSame = parent.socket.inode == holder.socket.inode &&
                          parent.process->session == holder.process->session;
  return servesSame ? &parent : nullptr;
}

const Holder& uppermost(const Holders& holders, const Holder& holder) {
  const Holder* top = &holder;
  // Pids that were given anew during the scan could close a circle.
  for (std::size_t i = 0; i < holders.size(); ++i) {
    const Holder* next = above(holders, *top);
    if (next == nullptr) break;
    top = next;
  }
  return *top;
}

std::map<pid_t, ServedClient> gather(const Holders& holders) {
  std::map<pid_t, ServedClient> clients;
  for (const auto& [pid, holder] : holders) {
    const Holder& top = uppermost(holders, holder);
    ServedClient& client = clients[top.process->pid];
    client.socket = top.socket;
    if (client.processes.empty()) client.processes.push_back(top.process);
    if (&top != &holder) client.processes.push_back(holder.process);
  }
  return clients;
}

// The login of a client: that of the first process that has one. None where the session ends just
// now.
LoginReading loginOf(const ServedClient& client, const LoginReader& readLogin) {
  for (const Process* process : client.processes) {
    auto login = readLogin(client, *process);
    if (login.failed() || (login.ok() && login->has_value())) return login;
  }
  return std::optional<Login>();
}

Outcome appendSession(const Sources& sources, const ServiceKind& kind, const ServedClient& client,
                      const LoginReader& readLogin, std::vector<Connection>* connections) {
  const auto vouched = isVouchedFor(sources, *client.processes.front(), kind.family);
  if (vouched.failed()) return Outcome::failure(vouched.cause());
  if (!vouched.ok() || !*vouched) return Outcome::done();
  auto login = loginOf(client, readLogin);
  if (login.failed()) return Outcome::failure(login.cause());
  if (!login.ok() || !login->has_value()) return Outcome::done();
  connections->push_back({.pid = (*login)->process->pid,
                          .time = sources.startText(*(*login)->process),
                          .from = numericText(client.socket.remote),
                          .user = std::move((*login)->user),
                          .descr = std::move((*login)->descr),
                          .type = kind.type});
  return Outcome::done();
}

}  // namespace

Outcome readSessions(const Sources& sources, const ServiceKind& kind, const LoginReader& readLogin,
                     std::vector<Connection>& connections) {
  Holders holders;
  Outcome outcome = readHolders(sources, kind, &holders);
  for (const auto& [pid, client] : gather(holders)) {
    outcome.add(appendSession(sources, kind, client, readLogin, &connections));
  }
  return outcome;
}

}  // namespace zevo::connections
