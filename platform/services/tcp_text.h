// The kernel's text of a network namespace's TCP sockets. Unlike netlink, it can be read for any
// process's namespace without entering it.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "services/socket_table.h"

namespace zevo::connections {

// The connections in a /proc/PID/net/tcp or tcp6, as in SocketTable. Addresses have no interface,
// since its number is valid only in that namespace. Malformed lines are left out.
std::vector<Socket> parseTcpText(std::string_view text);

// The sockets there that accept connections: inode and port. Malformed lines are left out.
std::vector<std::pair<std::uint64_t, std::uint16_t>> parseListeners(std::string_view text);

}  // namespace zevo::connections
