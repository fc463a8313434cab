#include "base/account_name.h"

namespace zevo {

NameServiceAnswer<passwd> askForAccount(uid_t uid) {
  return askNameService<passwd>(
      [uid](passwd* entry, char* texts, std::size_t size, passwd** found) {
        return ::getpwuid_r(uid, entry, texts, size, found);
      });
}

NameServiceAnswer<passwd> askForAccount(const std::string& name) {
  if (!canBeAccountName(name)) return {};
  return askNameService<passwd>([&](passwd* entry, char* texts, std::size_t size, passwd** found) {
    return ::getpwnam_r(name.c_str(), entry, texts, size, found);
  });
}

std::string accountName(uid_t uid) {
  const auto answer = askForAccount(uid);
  return answer.found ? std::string(answer.entry.pw_name) : std::to_string(uid);
}

}  // namespace zevo
