#include "sdk/connections/sources.h"

#include "sdk/connections/trust.h"

namespace zevo::connections {
namespace {

// The number of the network namespace; 0 where it cannot be told.
std::uint64_t networkOf(const Reading<ProcessFiles>& files) {
  const auto namespaces = files.ok() ? files->namespaces() : Reading<Namespaces>::like(files);
  return namespaces.ok() ? namespaces->network : 0;
}

// The connections of the network namespace of a process's server, where that is not ours; null
// where it is. That of the process itself is not asked: it may be one that the server made for the
// session alone, or one that a user filled with sockets.
const Reading<SocketTable>* otherSockets(const Sources& sources, const ProcessFiles& files) {
  const std::uint64_t ours = sources.home().network;
  const auto namespaces = files.namespaces();
  if (!namespaces.ok() || namespaces->network == ours) return nullptr;
  const Process* process = sources.processes().find(files.pid());
  if (process == nullptr) return nullptr;
  const auto server = serverOf(sources, *process);
  if (!server.ok() || *server == nullptr) return nullptr;
  const auto member = sources.filesOf(**server);
  const std::uint64_t network = networkOf(member);
  return network == 0 || network == ours ? nullptr : &sources.socketsOf(network, *member);
}

}  // namespace

Home Sources::readHome(const Paths& paths) {
  Home home;
  auto own = ProcessFiles::openOwn(paths);
  home.network = networkOf(own);
  auto first = ProcessFiles::open(paths, 1);
  for (auto* files : {&first, &own}) {
    const auto namespaces =
        files->ok() ? (*files)->namespaces() : Reading<Namespaces>::like(*files);
    if (!namespaces.ok() || *namespaces == Namespaces()) continue;
    home.namespaces = *namespaces;
    home.files = std::move(**files);
    break;
  }
  return home;
}

const Reading<SocketTable>& Sources::socketsOf(std::uint64_t network,
                                               const ProcessFiles& member) const {
  const auto found = otherSockets_.find(network);
  if (found != otherSockets_.end()) return found->second;
  return otherSockets_.emplace(network, SocketTable::readOf(member)).first->second;
}

Reading<std::vector<Socket>> connectionsOf(const Sources& sources, const ProcessFiles& files) {
  using Result = Reading<std::vector<Socket>>;
  const auto descriptors = files.sockets();
  if (!descriptors.ok()) return Result::like(descriptors);
  if (descriptors->empty()) return std::vector<Socket>();
  const Reading<SocketTable>& ours = sources.sockets();
  if (!ours.ok()) return Result::like(ours);
  const Reading<SocketTable>* others = otherSockets(sources, files);
  if (others != nullptr && !others->ok()) return Result::like(*others);
  std::vector<Socket> sockets;
  for (const SocketDescriptor& descriptor : *descriptors) {
    const Socket* socket = ours->find(descriptor.inode);
    if (socket == nullptr && others != nullptr) socket = (*others)->find(descriptor.inode);
    if (socket != nullptr) sockets.push_back(*socket);
  }
  return sockets;
}

const Reading<SocketTable>& Sources::sockets() const {
  if (!sockets_) sockets_ = readSockets_();
  return *sockets_;
}

Reading<std::optional<Socket>> clientSocket(const Sources& sources, const ProcessFiles& files) {
  using Result = Reading<std::optional<Socket>>;
  const auto sockets = connectionsOf(sources, files);
  if (!sockets.ok()) return Result::like(sockets);
  return sockets->empty() ? std::optional<Socket>() : std::optional<Socket>(sockets->front());
}

}  // namespace zevo::connections
