#include "services/nfs.h"

#include <map>
#include <set>

#include "host/service_table.h"
#include "services/nfs_clients.h"

namespace zevo::connections {
namespace {

constexpr std::uint16_t kNfsPort = 2049;

// The data of one client address.
struct Host {
  int connections = 0;                           // to the NFS port
  int clients = 0;                               // of version 4
  std::map<std::string, std::string> resources;  // description and time
};

using Hosts = std::map<std::string, Host>;

// The host with the address `from`. The kernel's server and the mount table write a link-local
// address without its interface, the socket table with it: it is the same host.
Hosts::iterator findHost(Hosts* hosts, const std::string& from) {
  const auto found = hosts->find(from);
  if (found != hosts->end()) return found;
  const std::string withInterface = from + "%";
  const auto next = hosts->lower_bound(withInterface);
  return next != hosts->end() && next->first.starts_with(withInterface) ? next : hosts->end();
}

// Kernel threads and servers started by root open their sockets as root.
bool isServed(const Socket& socket) {
  return socket.local.port == kNfsPort && socket.inode != 0 && socket.owner == 0 &&
         !socket.isHalfClosed && !socket.isShutDown;
}

Result<void> countConnections(const Sources& sources, Hosts* hosts) {
  const Result<SocketTable>& table = sources.sockets();
  if (!table) return errorOf(table);
  for (const Socket& socket : table->all()) {
    if (isServed(socket)) ++(*hosts)[numericText(socket.remote)].connections;
  }
  return {};
}

// Version 4 clients have their own state, with or without a current connection.
Result<void> addClients(const Paths& paths, Hosts* hosts) {
  std::vector<NfsClient> clients;
  Result<void> outcome = readNfsClients(paths, &clients);
  for (const NfsClient& client : clients) {
    const auto found = findHost(hosts, client.from);
    Host& host = found != hosts->end() ? found->second : (*hosts)[client.from];
    ++host.clients;
    const auto [resource, isNew] = host.resources.emplace(client.version, client.time);
    if (!isNew && client.time < resource->second) resource->second = client.time;
  }
  return outcome;
}

// The table keeps mounts of clients that left without unmounting: a mount counts if its client has
// a connection that does not belong to a version 4 client.
void addMounts(const Sources& sources, Hosts* hosts) {
  if (!isKernelNfsRunning(sources.paths())) return;
  std::vector<NfsMount> mounts;
  const Result<void> outcome = readRmtab(sources.paths(), &mounts);
  if (!outcome) {
    sources.note(kDetailsMissing, serviceName(ZEVO_CURCONN_NFS),
                 "NFS: " + outcome.error().sentence + "; exports of version 3 are not shown");
  }
  for (const NfsMount& mount : mounts) {
    const auto host = findHost(hosts, mount.from);
    if (host == hosts->end() || host->second.connections <= host->second.clients) continue;
    host->second.resources.emplace(mount.folder + " (NFSv3)", std::string());
  }
}

void append(const std::string& from, const std::string& descr, const std::string& time,
            std::vector<Connection>* connections) {
  connections->push_back(
      {.pid = 0, .time = time, .from = from, .user = {}, .descr = descr, .type = ZEVO_CURCONN_NFS});
}

}  // namespace

Result<void> readNfs(const Sources& sources, std::vector<Connection>& connections) {
  Hosts hosts;
  Result<void> outcome = countConnections(sources, &hosts);
  addPart(outcome, addClients(sources.paths(), &hosts));
  addMounts(sources, &hosts);
  for (const auto& [from, host] : hosts) {
    for (const auto& [descr, time] : host.resources) append(from, descr, time, &connections);
    if (host.resources.empty()) append(from, "NFS", {}, &connections);
  }
  return outcome;
}

}  // namespace zevo::connections
