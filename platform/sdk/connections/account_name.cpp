#include "sdk/connections/account_name.h"

#include <pwd.h>

#include "base/name_service.h"

namespace zevo::connections {
std::string accountName(uid_t uid) {
  const auto answer =
      askNameService<passwd>([&](passwd* entry, char* texts, std::size_t size, passwd** found) {
        return ::getpwuid_r(uid, entry, texts, size, found);
      });
  return answer.found ? std::string(answer.entry.pw_name) : std::to_string(uid);
}

}  // namespace zevo::connections
