#include "services/sources.h"

#include "services/process_owner.h"
#include "services/trust.h"

namespace zevo::connections {
namespace {

// The number of the network namespace; 0 if unknown.
std::uint64_t networkOf(const Result<ProcessFiles>& files) {
  return files.and_then(&ProcessFiles::namespaces).value_or(Namespaces()).network;
}

// The same for the user namespace.
std::uint64_t userOf(const Result<ProcessFiles>& files) {
  return files.and_then([](const ProcessFiles& open) { return open.namespaceNumber("user"); })
      .value_or(0);
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
    const auto namespaces = files->and_then(&ProcessFiles::namespaces);
    if (!namespaces || *namespaces == Namespaces()) continue;
    home.namespaces = *namespaces;
    home.files = std::move(**files);
    break;
  }
  return home;
}

const Result<SocketTable>& Sources::socketsOf(std::uint64_t network,
                                              const ProcessFiles& member) const {
  const auto found = otherSockets_.find(network);
  if (found != otherSockets_.end()) return found->second;
  return otherSockets_.emplace(network, SocketTable::readOf(member)).first->second;
}

const Result<bool>& Sources::rootOwned(const Process& process) const {
  const auto found = rootOwned_.find(process.pid);
  if (found != rootOwned_.end()) return found->second;
  auto owned = rootOwnedHere(process);
  if (owned && !*owned) {
    owned = filesOf(process).and_then(
        [this](const ProcessFiles& files) { return isContainersRoot(paths(), files, home()); });
  }
  return rootOwned_.emplace(process.pid, std::move(owned)).first->second;
}

const Result<bool>& Sources::rootOwnedHere(const Process& process) const {
  const auto found = rootOwnedHere_.find(process.pid);
  if (found != rootOwnedHere_.end()) return found->second;
  return rootOwnedHere_.emplace(process.pid, filesOf(process).and_then(isRootOwned)).first->second;
}

const Result<SocketTable>& Sources::sockets() const {
  if (!sockets_) sockets_ = readSockets_();
  return *sockets_;
}

}  // namespace zevo::connections
