#include "services/utmp.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utmp.h>

#include "services/address.h"

namespace zevo::connections {
namespace {

// The layout of the file is the same on all current 64-bit systems.
static_assert(sizeof(utmp) == 384);
static_assert(offsetof(utmp, ut_user) == 44);
static_assert(sizeof(utmp::ut_user) == kLongestUser);

// A field ends at its first NUL or at its own end.
template <std::size_t kSize>
std::string textOf(const char (&field)[kSize]) {
  return {field, std::find(field, field + kSize, '\0')};
}

// The address field is preferred, since the host may be a name.
std::string addressOf(const utmp& entry) {
  Address address;
  static_assert(sizeof(entry.ut_addr_v6) == sizeof(address.bytes));
  std::memcpy(address.bytes.data(), entry.ut_addr_v6, sizeof(entry.ut_addr_v6));
  if (address != Address()) {
    const bool isIpv4 =
        entry.ut_addr_v6[1] == 0 && entry.ut_addr_v6[2] == 0 && entry.ut_addr_v6[3] == 0;
    return numericText(isIpv4 ? addressOfIpv4(entry.ut_addr_v6, 0) : address);
  }
  const auto host = parseAddress(textOf(entry.ut_host));
  return host ? numericText(*host) : std::string();
}

}  // namespace

std::vector<LoginEntry> parseUtmp(std::string_view bytes) {
  std::vector<LoginEntry> entries;
  for (; bytes.size() >= sizeof(utmp); bytes.remove_prefix(sizeof(utmp))) {
    utmp entry{};
    std::memcpy(&entry, bytes.data(), sizeof(entry));
    std::string user = textOf(entry.ut_user);
    if (entry.ut_type != USER_PROCESS || user.empty()) continue;
    entries.push_back({.pid = entry.ut_pid,
                       .session = static_cast<pid_t>(entry.ut_session),
                       .terminal = textOf(entry.ut_line),
                       .user = std::move(user),
                       .from = addressOf(entry),
                       .time = static_cast<std::uint32_t>(entry.ut_tv.tv_sec)});
  }
  return entries;
}

bool isTorn(std::string_view bytes) {
  return bytes.size() % sizeof(utmp) != 0;
}

}  // namespace zevo::connections
