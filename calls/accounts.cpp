#include "calls/accounts.h"

#include <memory>

#include "zevo/account.h"

#include "base/account_name.h"
#include "host/administrators.h"
#include "host/web_login.h"

namespace calls {

std::string Account::loginName() const {
  return uid == 0 ? zevo::kRootAlias : name;
}

std::string Account::objection(zevo::LoginBy by) const {
  return zevo::objectionToLogin({isExpired, isLocked, hasLoginShell, {}}, uid, by);
}

std::optional<Account> SystemAccounts::byName(const std::string& name) {
  if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
  UserRecord* record = nullptr;
  if (ZEVOUserGet(name.c_str(), &record) < 0 || record == nullptr) return std::nullopt;
  const std::unique_ptr<UserRecord, void (*)(UserRecord*)> user(record, &ZEVOUserFree);
  if (*user->name == '\0') return std::nullopt;
  const zevo::LoginState state = zevo::loginState(*user);
  return Account{.name = user->name,
                 .uid = user->uid,
                 .isExpired = state.isExpired,
                 .isAdministrator = zevo::isAdministrator(*user),
                 .isLocked = state.isLocked,
                 .hasLoginShell = state.hasLoginShell,
                 .passwordMark = zevo::passwordMark(key_, user->name, state.passwordField)};
}

std::optional<Account> SystemAccounts::byUid(uid_t uid) {
  const auto answer = zevo::askForAccount(uid);
  if (!answer.found) return std::nullopt;
  auto account = byName(answer.entry.pw_name);
  // A name that two accounts share does not identify the caller.
  return account && account->uid == uid ? account : std::nullopt;
}

}  // namespace calls
