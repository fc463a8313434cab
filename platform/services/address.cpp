#include "services/address.h"

#include <algorithm>
#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include "base/numbers.h"

namespace zevo::connections {
namespace {

constexpr std::array<std::uint8_t, 12> kIpv4Prefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

bool isIpv4(const Address& address) {
  return std::equal(kIpv4Prefix.begin(), kIpv4Prefix.end(), address.bytes.begin());
}

bool isLinkLocal(const Address& address) {
  return address.bytes[0] == 0xFE && (address.bytes[1] & 0xC0U) == 0x80;
}

std::string interfaceName(std::uint32_t index) {
  std::array<char, IF_NAMESIZE> name{};
  return ::if_indextoname(index, name.data()) ? name.data() : std::to_string(index);
}

// By name or as digits; 0 if there is no such interface.
std::uint32_t interfaceIndex(std::string_view zone) {
  if (const auto index = parseNumber<std::uint32_t>(zone)) return *index;
  return ::if_nametoindex(std::string(zone).c_str());
}

}  // namespace

Address addressOfIpv4(const void* bytes, std::uint16_t port) {
  Address address;
  auto* end = std::copy(kIpv4Prefix.begin(), kIpv4Prefix.end(), address.bytes.begin());
  std::copy_n(static_cast<const std::uint8_t*>(bytes), 4, end);
  address.port = port;
  return address;
}

std::string numericText(const Address& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (isIpv4(address)) {
    ::inet_ntop(AF_INET, &address.bytes[kIpv4Prefix.size()], text.data(), text.size());
    return text.data();
  }
  ::inet_ntop(AF_INET6, address.bytes.data(), text.data(), text.size());
  if (!isLinkLocal(address) || address.interface == 0) return text.data();
  return std::string(text.data()) + "%" + interfaceName(address.interface);
}

std::optional<Address> parseAddress(std::string_view text) {
  const std::size_t zone = text.find('%');
  const std::string plain(text.substr(0, zone));
  Address address;
  if (::inet_pton(AF_INET6, plain.c_str(), address.bytes.data()) == 1) {
    if (zone != std::string_view::npos) address.interface = interfaceIndex(text.substr(zone + 1));
    return address;
  }
  in_addr ipv4{};
  if (zone != std::string_view::npos || ::inet_pton(AF_INET, plain.c_str(), &ipv4) != 1) {
    return std::nullopt;
  }
  return addressOfIpv4(&ipv4, 0);
}

}  // namespace zevo::connections
