// Entries of a utmp file, byte for byte.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utmp.h>

#include "platform/services/proc_tree.h"

namespace zevo::connections::test {

// When an entry was made, unless a test says otherwise: a minute after the tree's start.
inline constexpr std::uint32_t kEntryTime = ProcTree::kBootTime + 60;
inline constexpr const char* kEntryText = "2025-11-20 12:01:00";

struct FakeEntry {
  short type = USER_PROCESS;
  pid_t pid = 0;
  std::string line;  // texts as long as their field have no NUL
  std::string user;
  std::string host = {};
  std::array<std::uint8_t, 16> address = {};
  int session = 0;
  std::uint32_t time = kEntryTime;
};

inline std::string utmpEntry(const FakeEntry& fake) {
  utmp entry{};
  entry.ut_type = fake.type;
  entry.ut_pid = fake.pid;
  entry.ut_session = fake.session;
  std::copy(fake.line.begin(), fake.line.end(), entry.ut_line);
  std::copy(fake.user.begin(), fake.user.end(), entry.ut_user);
  std::copy(fake.host.begin(), fake.host.end(), entry.ut_host);
  std::memcpy(entry.ut_addr_v6, fake.address.data(), fake.address.size());
  std::memcpy(&entry.ut_tv, &fake.time, sizeof(fake.time));
  return {reinterpret_cast<const char*>(&entry), sizeof(entry)};
}

}  // namespace zevo::connections::test
