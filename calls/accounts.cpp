#include "calls/accounts.h"

#include <memory>
#include <pwd.h>
#include <vector>

#include "zevo/account.h"
#include "zevo/administrators.h"
#include "zevo/login_state.h"
#include "zevo/web_login.h"

namespace calls {
namespace {

constexpr std::size_t kTexts = 64UL * 1024;  // longest entry that is looked at

}  // namespace

std::string Account::loginName() const {
  return uid == 0 ? "admin" : name;
}

std::string Account::objection() const {
  if (isExpired) return "the account is disabled or has expired";
  if (uid == 0) return "";
  if (isLocked) return "the account is locked";
  return hasLoginShell ? "" : "the account has no login shell";
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
  std::vector<char> texts(kTexts);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(uid, &entry, texts.data(), texts.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  auto account = byName(entry.pw_name);
  // A name that two accounts share says nothing of which one is asking.
  return account && account->uid == uid ? account : std::nullopt;
}

}  // namespace calls
