#include "services/client_sockets.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include "base/text.h"
#include "host/service_table.h"

namespace zevo::connections {
namespace {

// A server accepts the client's connection before it opens anything for the client, so its
// descriptor is lower than those of all files. Descriptors that the listener had at that moment may
// be lower still: AFP's listener has one per session.
constexpr std::size_t kMostOfService = 4096;
// No more than a quarter of the default limit of open files.
constexpr std::size_t kMostOfOrphan = 256;
// If many processes look like orphans, this many are still examined for each: an FTP server has its
// client among the lowest.
constexpr std::size_t kLeastOfOrphan = 8;

// The sockets of an orphan, within the budget that all orphans share.
Result<LowSockets> lowSocketsOfOrphan(const Sources& sources, const Process& process,
                                      const ProcessFiles& files) {
  OrphanLooks& looks = sources.orphanLooks();
  const std::size_t most = std::clamp(looks.left, kLeastOfOrphan, kMostOfOrphan);
  auto low = files.sockets(most);
  if (!low) return low;
  looks.left -= std::min(looks.left, low->looks);
  const std::string_view service = serviceOfProcess(process.name);
  if (low->hasMore && most < kMostOfOrphan && looks.noted.insert(service).second) {
    sources.note(kConnectionsMissing, service,
                 "too many processes look like what is left of sessions, process " +
                     std::to_string(process.pid) + " (" + printable(process.name) +
                     ") among them; end those that are not");
  }
  return low;
}

struct Examined {
  LowSockets low;
  bool isOrphans = false;
};

// The sockets of `process`, as far as they are examined.
Result<Examined> examine(const Sources& sources, const Process& process, Family family,
                         const ProcessFiles& files) {
  const auto vouched = isVouchedFor(sources, process, family);
  if (!vouched) return errorOf(vouched);
  const auto as = [](bool isOrphans) {
    return [isOrphans](LowSockets low) { return Examined{std::move(low), isOrphans}; };
  };
  if (*vouched) return files.sockets(kMostOfService).map(as(false));
  const auto orphaned = isBelowOrphan(sources, process, family);
  if (!orphaned) return errorOf(orphaned);
  if (!*orphaned) return Examined();
  return lowSocketsOfOrphan(sources, process, files).map(as(true));
}

// A server that ends at a signal may shut down its client's connection while its child goes on
// transferring. A session that shuts its own down is over.
bool isInUse(const Socket& socket, const Examined& examined) {
  return examined.isOrphans || !socket.isShutDown;
}

// The connections in the network namespace of a process's server, if that is not ours; null if it
// is. The process's own namespace is not read: the server may have created it for the session
// alone, or a user may have filled it with sockets.
const Result<SocketTable>* otherSockets(const Sources& sources, const Process& process,
                                        const ProcessFiles& files) {
  const std::uint64_t ours = sources.home().network;
  const auto namespaces = files.namespaces();
  if (!namespaces || namespaces->network == ours) return nullptr;
  const auto server = serverOf(sources, process);
  if (!server || *server == nullptr) return nullptr;
  const auto member = sources.filesOf(**server);
  const auto its = member.and_then(&ProcessFiles::namespaces);
  if (!its || its->network == 0 || its->network == ours) return nullptr;
  return &sources.socketsOf(its->network, *member);
}

}  // namespace

Result<std::vector<Socket>> connectionsOf(const Sources& sources, const Process& process,
                                          Family family) {
  const auto files = sources.filesOf(process);
  const auto examined = files.and_then(
      [&](const ProcessFiles& open) { return examine(sources, process, family, open); });
  if (!examined) return errorOf(examined);
  if (examined->low.sockets.empty()) return std::vector<Socket>();
  const Result<SocketTable>& ours = sources.sockets();
  if (!ours) return errorOf(ours);
  const Result<SocketTable>* others = otherSockets(sources, process, *files);
  if (others != nullptr && !*others) return errorOf(*others);
  std::vector<Socket> sockets;
  for (const SocketDescriptor& descriptor : examined->low.sockets) {
    const Socket* socket = ours->find(descriptor.inode);
    if (socket == nullptr && others != nullptr) socket = (*others)->find(descriptor.inode);
    if (socket != nullptr && isInUse(*socket, *examined)) sockets.push_back(*socket);
  }
  return sockets;
}

Result<std::optional<Socket>> clientSocket(const Sources& sources, const Process& process,
                                           Family family) {
  return connectionsOf(sources, process, family).map([](const std::vector<Socket>& sockets) {
    return sockets.empty() ? std::optional<Socket>() : sockets.front();
  });
}

}  // namespace zevo::connections
