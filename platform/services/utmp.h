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

// The length to which utmp truncates user names.
inline constexpr std::size_t kLongestUser = 32;

// A login in utmp or logind. Texts may contain any byte.
struct LoginEntry {
  pid_t pid = 0;         // of the process that wrote the entry
  pid_t session = 0;     // of the session's leader in the entry; 0 if it has none
  std::string terminal;  // "tty1", "pts/3"; other words if there is no terminal
  std::string user;
  std::string from;  // numeric address of a remote login, otherwise empty
  std::time_t time = 0;

  bool operator==(const LoginEntry&) const = default;
};

// The entries of users in the bytes of a utmp file. Bytes after the last complete entry are
// ignored.
std::vector<LoginEntry> parseUtmp(std::string_view bytes);

// Whether the bytes end in the middle of an entry.
bool isTorn(std::string_view bytes);

}  // namespace zevo::connections
