#include "services/samba_processes.h"

#include <algorithm>
#include <optional>
#include <set>

#include "host/service_table.h"
#include "services/client_sockets.h"
#include "services/containers.h"
#include "services/samba_records.h"
#include "services/trust.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kSmbPort = 445;
constexpr std::uint16_t kNetbiosPort = 139;

bool isServicePort(std::uint16_t port) {
  return port == kSmbPort || port == kNetbiosPort;
}

bool isSmbdAbove(const Sources& sources, const Process& process) {
  const Process* parent = sources.processes().find(process.parent);
  return parent != nullptr && isSmbd(parent->name);
}

bool isSmbdBelow(const Sources& sources, const Process& process) {
  const auto children = sources.processes().children(process.pid);
  return std::any_of(children.begin(), children.end(),
                     [](const Process* child) { return isSmbd(child->name); });
}

// The client's connection of a session's process: the one to an SMB port, otherwise the first. If
// the process is not a child of smbd, it may be smbd itself, whose own connections (to a directory
// server, or one being accepted) are not sessions; one started by a super-server has no children.
Result<std::optional<Socket>> sessionSocket(const Sources& sources, const Process& process) {
  const bool isChild = isSmbdAbove(sources, process);
  if (!isChild && isSmbdBelow(sources, process)) return std::optional<Socket>();
  const auto sockets = connectionsOf(sources, process, isSmbd);
  if (!sockets) return errorOf(sockets);
  std::optional<Socket> first;
  for (const Socket& socket : *sockets) {
    if (isServicePort(socket.local.port)) return std::optional<Socket>(socket);
    if (isChild && !first) first = socket;
  }
  return first;
}

// Whether the process may serve a session, without examining the descriptors of each child.
Result<bool> mayServe(const Sources& sources, const Process& process) {
  if (isSmbdAbove(sources, process)) return true;
  return sessionSocket(sources, process).map([](const std::optional<Socket>& socket) {
    return socket.has_value();
  });
}

// The record of one process from processes and sockets.
Result<void> appendProcess(const Sources& sources, const Process& process,
                           std::vector<Connection>* connections) {
  const auto vouched = isVouchedFor(sources, process, isSmbd);
  if (!vouched || !*vouched) return failureOf(vouched);
  const auto socket = sessionSocket(sources, process);
  if (!socket || !socket->has_value()) return failureOf(socket);
  connections->push_back({.pid = process.pid,
                          .time = sources.startText(process),
                          .from = numericText((*socket)->remote),
                          .user = kUnknownUser,
                          .descr = std::string(kUnknownSmbShare),
                          .type = ZEVO_CURCONN_CIFS});
  return {};
}

std::set<pid_t> smbPids(const std::vector<Connection>& connections) {
  std::set<pid_t> pids;
  for (const Connection& connection : connections) {
    if (connection.type == ZEVO_CURCONN_CIFS) pids.insert(connection.pid);
  }
  return pids;
}

}  // namespace

Result<bool> isSmbServed(const Sources& sources) {
  Result<bool> found = false;
  for (const Process* process : sources.processes().named(isSmbSessionName)) {
    auto serving = isVouchedFor(sources, *process, isSmbd);
    if (serving && *serving) serving = mayServe(sources, *process);
    if (serving && *serving) serving = servesThisMachine(sources, *process);
    if (serving && *serving) return serving;
    if (hasFailed(serving)) found = serving;
  }
  return found;
}

Result<void> appendSmbProcesses(const Sources& sources, std::chrono::milliseconds age,
                                std::vector<Connection>* connections) {
  const std::set<pid_t> known = smbPids(*connections);
  Result<void> outcome;
  for (const Process* process : sources.processes().named(isSmbSessionName)) {
    if (known.contains(process->pid) || sources.age(*process) < age) continue;
    addPart(outcome, appendProcess(sources, *process, connections));
  }
  return outcome;
}

}  // namespace zevo::connections
