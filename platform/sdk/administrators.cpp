#include "sdk/administrators.h"

#include <algorithm>
#include <array>
#include <map>
#include <string_view>

#include "host/administrators.h"
#include "host/config.h"
#include "sdk/login_state.h"

namespace zevo {
namespace {

constexpr std::array<const char*, 3> kUsualGroups = {"administrators", "sudo", "wheel"};

bool mayLogIn(std::string_view password, std::string_view expiryDay, long today) {
  return !isLocked(password) && !isExpired(expiryDay, today);
}

bool mayLogInByNameService(const Administrator& administrator, long today) {
  const auto& shadow = administrator.shadow;
  if (shadow) return mayLogIn(shadow->password, shadow->expiryDay, today);
  return !isLockedWithoutEntry(administrator.account.password);
}

// Adds the account `name` if it is a member other than uid 0. 0 or an errno.
int addMember(AccountSource& source, const std::string& name, const Group& group,
              std::set<Administrator>* members) {
  std::optional<Account> account;
  if (const int error = source.account(name, &account)) return error;
  if (!account || account->uid == 0) return 0;
  const bool isMember = account->gid == group.gid || group.members.contains(name) ||
                        source.isInGroup(account->name, account->gid, group.gid);
  if (!isMember) return 0;
  Administrator member{*account, {}};
  // If it cannot be read, the entry that the password field refers to is missing.
  source.shadow(account->name, &member.shadow);
  members->insert(std::move(member));
  return 0;
}

}  // namespace

int administratorsGroup(AccountSource& source, const std::string& configured,
                        std::optional<Group>* group) {
  if (!configured.empty()) return source.group(configured, group);
  for (const char* name : kUsualGroups) {
    const int error = source.group(name, group);
    if (error != 0 || *group) return error;
  }
  return 0;
}

int readAdministrators(AccountSource& source, const std::string& configured,
                       const std::set<std::string>& names,
                       std::vector<Administrator>* administrators) {
  administrators->clear();
  std::optional<Group> group;
  if (const int error = administratorsGroup(source, configured, &group)) return error;
  if (!group) return 0;
  std::set<std::string> others = group->members;
  if (const int error = source.primaryMembers(group->gid, &others)) return error;
  std::set<Administrator> members;
  for (const std::string& name : names) {
    if (const int error = addMember(source, name, *group, &members)) return error;
  }
  for (const std::string& name : others) {
    static_cast<void>(addMember(source, name, *group, &members));
  }
  administrators->assign(members.begin(), members.end());
  return 0;
}

std::set<std::string> validAdministrators(const std::vector<Administrator>& administrators,
                                          const std::vector<ShadowEntry>& shadow,
                                          const std::set<std::string>& shells, long today) {
  std::map<std::string_view, const ShadowEntry*> entries;
  for (const ShadowEntry& entry : shadow) entries.try_emplace(entry.name, &entry);
  std::set<std::string> valid;
  for (const Administrator& administrator : administrators) {
    const Account& account = administrator.account;
    const auto entry = entries.find(account.name);
    const bool may = entry != entries.end()
                         ? mayLogIn(entry->second->password, entry->second->expiryDay, today)
                         : mayLogInByNameService(administrator, today);
    if (may && isLoginShell(shells, account.shell)) valid.insert(account.name);
  }
  return valid;
}

bool isAdministrator(const UserRecord& user) {
  if (user.uid == 0) return true;
  AccountSource& source = AccountSource::system();
  std::optional<Group> group;
  if (administratorsGroup(source, config().administratorsGroup, &group) != 0 || !group)
    return false;
  return source.isInGroup(user.name, user.gid, group->gid);
}

}  // namespace zevo
