// The TCP connections of this system at one moment: the established ones, and those of which the
// peer has closed its own direction, in which data may still flow to it.
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

  bool operator==(const Socket&) const = default;
};

enum class DumpProgress { kMore, kDone, kInterrupted, kFailed };

// The next datagram of the kernel's at this socket, whole, in `buffer`; those of other processes
// are dropped. Its size, or -1 with errno set.
ssize_t receiveFromKernel(int netlink, std::span<char> buffer);

// Takes the sockets out of one netlink datagram of sock_diag. kInterrupted: the dump may lack
// connections and is to be made anew. kFailed: errno says why.
DumpProgress parseDump(std::span<const char> datagram, std::vector<Socket>* sockets);

// Immutable once built.
class SocketTable {
 public:
  SocketTable() = default;
  explicit SocketTable(std::vector<Socket> sockets);

  // Asks the kernel, once for IPv4 and once for IPv6.
  static Result<SocketTable> read();

  // Reads those of the network namespace in which a process runs, once for IPv4 and once for IPv6.
  static Result<SocketTable> readOf(const ProcessFiles& process);

  // The connection of a descriptor's inode, or null: no TCP, or no longer a connection. Lives as
  // long as the table.
  [[nodiscard]] const Socket* find(std::uint64_t inode) const;
  [[nodiscard]] std::span<const Socket> all() const { return sockets_; }

 private:
  std::vector<Socket> sockets_;  // by inode
};

}  // namespace zevo::connections
