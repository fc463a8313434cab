// By what clients are told apart where they are counted.
#pragma once

#include <string>

namespace calls {

// The client that the numeric address belongs to: an IPv4 address is one; of an IPv6 address its
// network of 64 bits, the least that a client gets and can call from as it likes; of an address of
// this machine's loopback all 127.0.0.0/8, since its users can.
std::string clientOf(const std::string& address);

}  // namespace calls
