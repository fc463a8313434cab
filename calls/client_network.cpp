#include "calls/client_network.h"

#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <cstring>
#include <netinet/in.h>

namespace calls {

std::string clientOf(const std::string& address) {
  if (address.starts_with("127.")) return "127.0.0.0/8";
  constexpr std::size_t kNetworkBytes = 8;
  in6_addr v6{};
  if (::inet_pton(AF_INET6, address.c_str(), &v6) != 1) return address;
  std::memset(&v6.s6_addr[kNetworkBytes], 0, sizeof v6 - kNetworkBytes);
  std::array<char, INET6_ADDRSTRLEN> text{};
  return std::string(::inet_ntop(AF_INET6, &v6, text.data(), text.size())) + "/64";
}

}  // namespace calls
