#include "sdk/connections/samba_processes.h"

#include <optional>

#include "sdk/connections/samba_records.h"
#include "sdk/connections/trust.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kSmbPort = 445;
constexpr std::uint16_t kNetbiosPort = 139;

bool isServicePort(std::uint16_t port) {
  return port == kSmbPort || port == kNetbiosPort;
}

// The client's connection of a session's process: the one to an SMB port, else the first.
Reading<std::optional<Socket>> sessionSocket(const Sources& sources, const ProcessFiles& files) {
  using Result = Reading<std::optional<Socket>>;
  const auto descriptors = files.sockets();
  if (!descriptors.ok()) return Result::like(descriptors);
  const auto& table = sources.sockets();
  if (!table.ok()) return Result::like(table);
  std::optional<Socket> first;
  for (const SocketDescriptor& descriptor : *descriptors) {
    const Socket* socket = table->find(descriptor.inode);
    if (socket == nullptr) continue;
    if (isServicePort(socket->local.port)) return std::optional<Socket>(*socket);
    if (!first) first = *socket;
  }
  return first;
}

// A session's process is a child of smbd itself, whose own connections (to a directory server) are
// nobody's sessions.
bool isBelowSmbd(const Sources& sources, const Process& process) {
  const Process* parent = sources.processes().find(process.parent);
  return parent != nullptr && isSmbd(parent->name);
}

// What processes and sockets tell of one process.
Outcome appendProcess(const Sources& sources, const Process& process,
                      std::vector<Connection>* connections) {
  const auto vouched = isVouchedFor(sources, process, isSmbd);
  if (vouched.failed()) return Outcome::failure(vouched.cause());
  if (!vouched.ok() || !*vouched) return Outcome::done();
  const auto files = sources.filesOf(process);
  const auto socket =
      files.ok() ? sessionSocket(sources, *files) : Reading<std::optional<Socket>>::like(files);
  if (socket.failed()) return Outcome::failure(socket.cause());
  if (!socket.ok() || !socket->has_value()) return Outcome::done();
  connections->push_back({.pid = process.pid,
                          .time = sources.startText(process),
                          .from = numericText((*socket)->remote),
                          .user = std::string(kUnknownSmbUser),
                          .descr = std::string(kUnknownSmbShare),
                          .type = ZEVO_CURCONN_CIFS});
  return Outcome::done();
}

}  // namespace

Reading<bool> isSmbdRunning(const Sources& sources) {
  Reading<bool> found = false;
  for (const Process* process : sources.processes().named(isSmbSessionName)) {
    auto vouched = isVouchedFor(sources, *process, isSmbd);
    if (vouched.ok() && *vouched) return vouched;
    if (vouched.failed()) found = vouched;
  }
  return found;
}

Outcome appendSmbProcesses(const Sources& sources, std::vector<Connection>* connections) {
  Outcome outcome;
  for (const Process* process : sources.processes().named(isSmbSessionName)) {
    if (isBelowSmbd(sources, *process)) outcome.add(appendProcess(sources, *process, connections));
  }
  return outcome;
}

}  // namespace zevo::connections
