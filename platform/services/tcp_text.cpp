#include "services/tcp_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "base/numbers.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kEstablished = "01";
constexpr std::string_view kListening = "0A";
constexpr std::string_view kCloseWait = "08";  // the peer has closed its own direction
constexpr std::array<std::string_view, 2> kFinWait = {"04", "05"};  // this end has
constexpr std::size_t kWordDigits = 8;
constexpr std::size_t kIpv4Words = 1;
constexpr std::size_t kIpv6Words = 4;

// The fields of a line, in the order of proc(5), up to the last one needed.
enum Field { kLocal = 1, kRemote = 2, kState = 3, kOwner = 7, kInode = 9, kFields = 10 };
using Fields = std::array<std::string_view, kFields>;

Fields fieldsOf(std::string_view line) {
  Fields fields;
  for (std::string_view& field : fields) {
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    field = line.substr(0, line.find(' '));
    line.remove_prefix(field.size());
  }
  return fields;
}

// "0100007F:0016": words of the address as this machine's memory holds them, and the port.
std::optional<Address> parseEnd(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon != kWordDigits * kIpv4Words && colon != kWordDigits * kIpv6Words) return std::nullopt;
  std::array<std::uint32_t, kIpv6Words> words{};
  for (std::size_t at = 0; at < colon; at += kWordDigits) {
    if (!parseNumber(text.substr(at, kWordDigits), &words.at(at / kWordDigits), 16)) {
      return std::nullopt;
    }
  }
  std::uint16_t port = 0;
  if (!parseNumber(text.substr(colon + 1), &port, 16)) return std::nullopt;
  if (colon == kWordDigits * kIpv4Words) return addressOfIpv4(words.data(), port);
  Address address;
  std::memcpy(address.bytes.data(), words.data(), sizeof(words));
  address.port = port;
  return address;
}

std::optional<Socket> parseLine(std::string_view line) {
  const Fields fields = fieldsOf(line);
  const bool isHalfClosed = fields[kState] == kCloseWait;
  const bool isShutDown =
      std::find(kFinWait.begin(), kFinWait.end(), fields[kState]) != kFinWait.end();
  if (fields[kState] != kEstablished && !isHalfClosed && !isShutDown) return std::nullopt;
  const auto local = parseEnd(fields[kLocal]);
  const auto remote = parseEnd(fields[kRemote]);
  Socket socket;
  if (!local || !remote || !parseNumber(fields[kOwner], &socket.owner) ||
      !parseNumber(fields[kInode], &socket.inode)) {
    return std::nullopt;
  }
  socket.local = *local;
  socket.remote = *remote;
  socket.isHalfClosed = isHalfClosed;
  socket.isShutDown = isShutDown;
  return socket;
}

}  // namespace

std::vector<Socket> parseTcpText(std::string_view text) {
  std::vector<Socket> sockets;
  for (const std::string_view line : linesOf(text)) {
    if (const auto socket = parseLine(line)) sockets.push_back(*socket);
  }
  return sockets;
}

std::vector<std::pair<std::uint64_t, std::uint16_t>> parseListeners(std::string_view text) {
  std::vector<std::pair<std::uint64_t, std::uint16_t>> listeners;
  for (const std::string_view line : linesOf(text)) {
    const Fields fields = fieldsOf(line);
    const auto local = parseEnd(fields[kLocal]);
    std::uint64_t inode = 0;
    if (fields[kState] != kListening || !local || !parseNumber(fields[kInode], &inode)) continue;
    listeners.emplace_back(inode, local->port);
  }
  return listeners;
}

}  // namespace zevo::connections
