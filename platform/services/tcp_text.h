// The kernel's text of a network namespace's TCP sockets. Unlike netlink, it can be read for any
// process's namespace without entering it.
#pragma once

#include <string_view>
#include <vector>

#include "services/socket_table.h"

namespace zevo::connections {

// The connections in a /proc/PID/net/tcp or tcp6, as in SocketTable. Addresses have no interface,
// since its number is valid only in that namespace. Malformed lines are left out.
std::vector<Socket> parseTcpText(std::string_view text);

}  // namespace zevo::connections
