#include "services/account_name.h"

#include "base/account_name.h"
#include "base/file_failure.h"
#include "base/text.h"

namespace zevo::connections {
bool isNobodys(uid_t uid) {
  const auto answer = askForAccount(uid);
  return !answer.found && answer.error == 0;
}

Result<uid_t> accountId(const std::string& name) {
  const auto answer = askForAccount(name);
  if (answer.found) return answer.entry.pw_uid;
  if (answer.error == 0) return gone();
  return failure("cannot look up the account \"" + printable(name) +
                 "\": " + errorText(answer.error));
}

}  // namespace zevo::connections
