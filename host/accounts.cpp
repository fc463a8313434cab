#include "accounts.h"

#include <cerrno>
#include <ctime>
#include <memory>
#include <pwd.h>
#include <shadow.h>
#include <vector>

#include "zevo/account.h"
#include "zevo/administrators.h"

namespace host {
namespace {

constexpr std::size_t kTexts = 64UL * 1024;  // longest entry that is looked at
constexpr long kSecondsADay = 86400;

// No entry of its own: the account comes from another source, which judges it at the login.
// Anything unreadable counts as expired.
bool isExpired(const std::string& name) {
  std::vector<char> texts(kTexts);
  spwd entry{};
  spwd* found = nullptr;
  const int error = ::getspnam_r(name.c_str(), &entry, texts.data(), texts.size(), &found);
  if (found == nullptr) return error != 0 && error != ENOENT;
  return entry.sp_expire >= 0 && std::time(nullptr) / kSecondsADay >= entry.sp_expire;
}

}  // namespace

std::string Account::loginName() const {
  return uid == 0 ? "admin" : name;
}

std::optional<Account> SystemAccounts::byName(const std::string& name) {
  if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
  UserRecord* record = nullptr;
  if (ZEVOUserGet(name.c_str(), &record) < 0 || record == nullptr) return std::nullopt;
  const std::unique_ptr<UserRecord, void (*)(UserRecord*)> user(record, &ZEVOUserFree);
  if (*user->name == '\0') return std::nullopt;
  return Account{user->name, user->uid, isExpired(user->name), zevo::isAdministrator(*user)};
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

}  // namespace host
