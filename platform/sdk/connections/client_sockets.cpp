#include "sdk/connections/client_sockets.h"

#include <cstddef>

namespace zevo::connections {
namespace {

// A server takes the client's connection before it opens anything for the client, so that lies
// below all files. What its listener held at that moment may lie below it: AFP's holds a descriptor
// for each session.
constexpr std::size_t kMostOfService = 4096;
// No more than a quarter of what a user's process may open without asking for more: a user can make
// processes that look like orphans, as many as he may have.
constexpr std::size_t kMostOfOrphan = 256;

// How many descriptors of `process` are looked at.
Reading<std::size_t> descriptorsToAsk(const Sources& sources, const Process& process,
                                      Family family) {
  const auto vouched = isVouchedFor(sources, process, family);
  if (!vouched.ok()) return Reading<std::size_t>::like(vouched);
  if (*vouched) return kMostOfService;
  const auto orphaned = isBelowOrphan(sources, process, family);
  if (!orphaned.ok()) return Reading<std::size_t>::like(orphaned);
  return *orphaned ? kMostOfOrphan : 0;
}

// The connections of the network namespace of a process's server, where that is not ours; null
// where it is. That of the process itself is not asked: it may be one that the server made for the
// session alone, or one that a user filled with sockets.
const Reading<SocketTable>* otherSockets(const Sources& sources, const Process& process,
                                         const ProcessFiles& files) {
  const std::uint64_t ours = sources.home().network;
  const auto namespaces = files.namespaces();
  if (!namespaces.ok() || namespaces->network == ours) return nullptr;
  const auto server = serverOf(sources, process);
  if (!server.ok() || *server == nullptr) return nullptr;
  const auto member = sources.filesOf(**server);
  const auto its = member.ok() ? member->namespaces() : Reading<Namespaces>::like(member);
  if (!its.ok() || its->network == 0 || its->network == ours) return nullptr;
  return &sources.socketsOf(its->network, *member);
}

}  // namespace

Reading<std::vector<Socket>> connectionsOf(const Sources& sources, const Process& process,
                                           Family family) {
  using Result = Reading<std::vector<Socket>>;
  const auto most = descriptorsToAsk(sources, process, family);
  if (!most.ok()) return Result::like(most);
  if (*most == 0) return std::vector<Socket>();
  const auto files = sources.filesOf(process);
  const auto descriptors =
      files.ok() ? files->sockets(*most) : Reading<std::vector<SocketDescriptor>>::like(files);
  if (!descriptors.ok()) return Result::like(descriptors);
  if (descriptors->empty()) return std::vector<Socket>();
  const Reading<SocketTable>& ours = sources.sockets();
  if (!ours.ok()) return Result::like(ours);
  const Reading<SocketTable>* others = otherSockets(sources, process, *files);
  if (others != nullptr && !others->ok()) return Result::like(*others);
  std::vector<Socket> sockets;
  for (const SocketDescriptor& descriptor : *descriptors) {
    const Socket* socket = ours->find(descriptor.inode);
    if (socket == nullptr && others != nullptr) socket = (*others)->find(descriptor.inode);
    if (socket != nullptr) sockets.push_back(*socket);
  }
  return sockets;
}

Reading<std::optional<Socket>> clientSocket(const Sources& sources, const Process& process,
                                            Family family) {
  using Result = Reading<std::optional<Socket>>;
  const auto sockets = connectionsOf(sources, process, family);
  if (!sockets.ok()) return Result::like(sockets);
  return sockets->empty() ? std::optional<Socket>() : std::optional<Socket>(sockets->front());
}

}  // namespace zevo::connections
