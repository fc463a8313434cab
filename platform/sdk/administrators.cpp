#include "sdk/administrators.h"

#include <algorithm>
#include <array>

namespace zevo {
namespace {

constexpr std::array<const char*, 3> kDefaultGroups = {"administrators", "sudo", "wheel"};

const Group* findGroup(const AccountFiles& files, const std::string& configured) {
  if (!configured.empty()) {
    const auto group = files.groups.find(configured);
    return group != files.groups.end() ? &group->second : nullptr;
  }
  for (const char* name : kDefaultGroups) {
    const auto group = files.groups.find(name);
    if (group != files.groups.end()) return &group->second;
  }
  return nullptr;
}

bool isLoginShell(const AccountFiles& files, const std::string& shell) {
  // Some systems list them among the shells.
  const std::string_view name = std::string_view(shell).substr(shell.rfind('/') + 1);
  if (name == "nologin" || name == "false") return false;
  return files.shells.empty() || files.shells.contains(shell);
}

// Programs differ in whether an account's last day is the day of expiry or the day before, and in
// what day 0 means. In doubt the account does not count.
bool isExpired(const ShadowEntry& entry, long today) {
  if (entry.expiryDay.empty()) return false;
  const auto day = numberOf(entry.expiryDay);
  return !day || (*day >= 0 && *day <= today);
}

bool isLocked(const ShadowEntry& entry) {
  return entry.password.starts_with('!');
}

}  // namespace

std::set<std::string> validAdministrators(const AccountFiles& files,
                                          const std::vector<ShadowEntry>& shadow,
                                          const std::string& group, long today) {
  std::set<std::string> valid;
  const Group* administrators = findGroup(files, group);
  if (administrators == nullptr) return valid;
  std::set<std::string_view> seen;
  for (const ShadowEntry& entry : shadow) {
    const std::string name(entry.name);
    const auto account = files.passwd.find(name);
    if (!seen.insert(entry.name).second || account == files.passwd.end()) continue;
    const PasswdEntry& passwd = account->second;
    const bool isMember =
        passwd.gid == administrators->gid || administrators->members.contains(name);
    if (!isMember || passwd.uid == 0 || !isLoginShell(files, passwd.shell)) continue;
    if (!isExpired(entry, today) && !isLocked(entry)) valid.insert(name);
  }
  return valid;
}

}  // namespace zevo
