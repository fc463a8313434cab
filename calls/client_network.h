// How clients are distinguished when they are counted.
#pragma once

#include <string>

namespace calls {

// The client of a numeric address: the IPv4 address itself; for IPv6 the /64 network, the smallest
// that clients are assigned and can use freely; for the loopback network all of 127.0.0.0/8, which
// every local user can use.
std::string clientOf(const std::string& address);

}  // namespace calls
