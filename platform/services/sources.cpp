#include "services/sources.h"

#include "services/trust.h"

namespace zevo::connections {
namespace {

// The number of the network namespace; 0 where it cannot be told.
std::uint64_t networkOf(const Reading<ProcessFiles>& files) {
  const auto namespaces = files.ok() ? files->namespaces() : Reading<Namespaces>::like(files);
  return namespaces.ok() ? namespaces->network : 0;
}

// The same of the user namespace.
std::uint64_t userOf(const Reading<ProcessFiles>& files) {
  const auto number =
      files.ok() ? files->namespaceNumber("user") : Reading<std::uint64_t>::like(files);
  return number.ok() ? *number : 0;
}

}  // namespace

Home readHome(const Paths& paths) {
  Home home;
  auto own = ProcessFiles::openOwn(paths);
  home.network = networkOf(own);
  home.user = userOf(own);
  home.subordinates = SubordinateIds(paths.subuid);
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

const Reading<bool>& Sources::rootOwned(const Process& process) const {
  const auto found = rootOwned_.find(process.pid);
  if (found != rootOwned_.end()) return found->second;
  const auto files = filesOf(process);
  auto owned = files.ok() ? isRootOwned(*files) : Reading<bool>::like(files);
  return rootOwned_.emplace(process.pid, std::move(owned)).first->second;
}

const Reading<SocketTable>& Sources::sockets() const {
  if (!sockets_) sockets_ = readSockets_();
  return *sockets_;
}

}  // namespace zevo::connections
