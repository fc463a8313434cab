// The TCP connections of this system at one moment: the established ones, and those of which one
// end has closed its direction, while data may still flow in the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <sys/types.h>
#include <vector>

#include "services/address.h"
#include "services/gone.h"
#include "services/process_files.h"

namespace zevo::connections {

struct Socket {
  std::uint64_t inode = 0;  // 0 while no process has accepted it
  Address local;
  Address remote;
  uid_t owner = 0;            // effective user of the process that accepted or opened it
  bool isHalfClosed = false;  // by the peer
  bool isShutDown = false;    // by this end

  bool operator==(const Socket&) const = default;
};

enum class DumpProgress { kMore, kDone, kInterrupted, kFailed };

// Reads the kernel's next complete datagram from this socket into `buffer`; those of other
// processes are dropped. Returns its size, or -1 with errno set.
ssize_t receiveFromKernel(int netlink, std::span<char> buffer);

// Parses the sockets in one netlink datagram of sock_diag. kInterrupted: the dump may lack
// connections and must be repeated. kFailed: errno has the reason.
DumpProgress parseDump(std::span<const char> datagram, std::vector<Socket>* sockets);

// Immutable once built.
class SocketTable {
 public:
  SocketTable() = default;
  explicit SocketTable(std::vector<Socket> sockets);

  // Queries the kernel, once for IPv4 and once for IPv6.
  static Result<SocketTable> read();

  // Reads the connections in a process's network namespace, once for IPv4 and once for IPv6.
  static Result<SocketTable> readOf(const ProcessFiles& process);

  // The connection of a descriptor's inode, or null if it is not TCP or no longer a connection.
  // Valid as long as the table.
  [[nodiscard]] const Socket* find(std::uint64_t inode) const;
  [[nodiscard]] std::span<const Socket> all() const { return sockets_; }

 private:
  std::vector<Socket> sockets_;  // by inode
};

}  // namespace zevo::connections
