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
  std::uint32_t interface = 0;  // index of the network interface; 0 where it does not matter
  std::uint16_t port = 0;

  bool operator==(const Address&) const = default;
};

// An IPv4 address of four bytes in network order.
Address addressOfIpv4(const void* bytes, std::uint16_t port);

// "10.0.0.9", "2001:db8::1" or "fe80::1%eth0", without the port. IPv4 addresses mapped into IPv6
// are written as IPv4. A link-local address carries its interface, since it says nothing without;
// by name, as OpenSSH and Samba write it, or by index where the interface is gone.
std::string numericText(const Address& address);

// The address that a service wrote as text, "fe80::1%eth0" among its forms; nothing where `text` is
// no numeric address.
std::optional<Address> parseAddress(std::string_view text);

}  // namespace zevo::connections
