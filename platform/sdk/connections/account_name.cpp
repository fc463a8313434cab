#include "sdk/connections/account_name.h"

#include <pwd.h>

#include "base/account_name.h"
#include "base/file_failure.h"
#include "base/name_service.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

auto accountWith(uid_t uid) {
  return askNameService<passwd>(
      [uid](passwd* entry, char* texts, std::size_t size, passwd** found) {
        return ::getpwuid_r(uid, entry, texts, size, found);
      });
}

}  // namespace

bool isNobodys(uid_t uid) {
  const auto answer = accountWith(uid);
  return !answer.found && answer.error == 0;
}

std::string accountName(uid_t uid) {
  const auto answer = accountWith(uid);
  return answer.found ? std::string(answer.entry.pw_name) : std::to_string(uid);
}

Reading<uid_t> accountId(const std::string& name) {
  if (!canBeAccountName(name)) return Reading<uid_t>::gone();
  const auto answer =
      askNameService<passwd>([&](passwd* entry, char* texts, std::size_t size, passwd** found) {
        return ::getpwnam_r(name.c_str(), entry, texts, size, found);
      });
  if (answer.found) return answer.entry.pw_uid;
  if (answer.error == 0) return Reading<uid_t>::gone();
  return Reading<uid_t>::failure("cannot look up the account \"" + printable(name) +
                                 "\": " + errorText(answer.error));
}

}  // namespace zevo::connections
