// Addresses of connections.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zevo::connections {

struct Address {
  std::array<std::uint8_t, 16> bytes{};  // IPv4 as ::ffff:a.b.c.d
  std::uint32_t interface = 0;           // index of the network interface; 0 if it does not matter
  std::uint16_t port = 0;

  bool operator==(const Address&) const = default;
};

// An IPv4 address of four bytes in network order.
Address addressOfIpv4(const void* bytes, std::uint16_t port);

// "10.0.0.9", "2001:db8::1" or "fe80::1%eth0", without the port. IPv4 addresses mapped into IPv6
// are written as IPv4. A link-local address includes its interface, since it is ambiguous without
// it; by name, as OpenSSH and Samba write it, or by index if the interface no longer exists.
std::string numericText(const Address& address);

// Parses the address text of a service, also "fe80::1%eth0"; nothing if `text` is not a numeric
// address.
std::optional<Address> parseAddress(std::string_view text);

}  // namespace zevo::connections
