// The file of current logins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace zevo::connections {

// What a longer name of a user is cut down to in utmp.
inline constexpr std::size_t kLongestUser = 32;

// A login as utmp or logind records it. Texts may hold any byte.
struct LoginEntry {
  pid_t pid = 0;         // of the process that made the entry
  pid_t session = 0;     // of the session's leader as the entry has it; 0 where it has none
  std::string terminal;  // "tty1", "pts/3"; other words where there is no terminal
  std::string user;
  std::string from;  // numeric address of a login from elsewhere, else empty
  std::time_t time = 0;

  bool operator==(const LoginEntry&) const = default;
};

// The entries of users in the bytes of a utmp file. What follows the last whole entry is left out.
std::vector<LoginEntry> parseUtmp(std::string_view bytes);

// Whether the bytes end in the middle of an entry.
bool isTorn(std::string_view bytes);

}  // namespace zevo::connections
