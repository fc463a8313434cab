// The kernel's own text of a network namespace's TCP sockets. Unlike netlink it can be read of any
// process's namespace without entering it.
#pragma once

#include <string_view>
#include <vector>

#include "services/socket_table.h"

namespace zevo::connections {

// The connections in a /proc/PID/net/tcp or tcp6, as SocketTable has them. Addresses carry no
// interface, since its number means something in that namespace only. Lines of another form are
// left out.
std::vector<Socket> parseTcpText(std::string_view text);

}  // namespace zevo::connections
