// Account files of its own for one test.
#pragma once

#include <cerrno>
#include <map>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "zevo/error.h"

#include "platform/base/temporary_folder.h"
#include "sdk/account_write.h"

namespace zevo::testing_support {

// Accounts and groups that a test lists itself.
class ListedAccounts : public AccountSource {
 public:
  int account(const std::string& name, std::optional<Account>* account) override {
    account->reset();
    for (const Account& known : accounts) {
      if (known.name == name) *account = known;
    }
    return failingAccounts.contains(name) ? EIO : 0;
  }
  int group(const std::string& name, std::optional<Group>* group) override {
    group->reset();
    if (groupError != 0) return groupError;
    const auto known = groups.find(name);
    if (known != groups.end()) *group = known->second;
    return 0;
  }
  int shadow(const std::string& name, std::optional<ShadowFields>* shadow) override {
    shadow->reset();
    const auto known = shadows.find(name);
    if (known != shadows.end()) *shadow = known->second;
    return shadowError;
  }
  int primaryMembers(gid_t group, std::set<std::string>* names) override {
    for (const Account& account : accounts) {
      if (account.gid == group && !hidden.contains(account.name)) names->insert(account.name);
    }
    return walkError;
  }
  bool isInGroup(const std::string& name, gid_t primary, gid_t group) override {
    return primary == group || loginGroups[name].contains(group);
  }

  std::vector<Account> accounts;  // those of the local files and of a directory
  std::map<std::string, Group> groups;
  std::map<std::string, ShadowFields> shadows;
  std::map<std::string, std::set<gid_t>> loginGroups;  // that no group names as its member
  std::set<std::string> hidden;                        // in an enumeration
  std::set<std::string> failingAccounts;
  int groupError = 0;
  int shadowError = 0;
  int walkError = 0;
};

// Two administrators, ann and ben; one user, cid.
class AccountFixture : public testing::Test {
 protected:
  AccountFixture() {
    source_.accounts = {{"root", "x", "/bin/bash", 0, 0},
                        {"ann", "x", "/bin/bash", 1001, 1001},
                        {"ben", "x", "/bin/bash", 1002, 1002},
                        {"cid", "x", "/bin/bash", 1003, 1003},
                        {"web", "x", "/usr/sbin/nologin", 33, 33}};
    source_.groups = {{"sudo", {27, {"ann", "ben", "web"}}}};
    database_.paths = {folder_.write("shadow", kShadow), folder_.write("shells", "/bin/bash\n"),
                       folder_.file(".pwd.lock")};
    database_.source = &source_;
    database_.today = 20000;
  }

  [[nodiscard]] int write(const ExpiryFields& days) const {
    ShadowWrite write;
    for (const auto& [name, day] : days) write.names.insert(name);
    write.decide = [&](ExpiryFields& fields) -> int {
      for (auto& [name, field] : fields) field = days.at(name);
      return ZEVO_ERR_NONE;
    };
    return writeShadow(database_, write);
  }
  [[nodiscard]] int disable(const std::vector<std::string>& names) const {
    ExpiryFields days;
    for (const std::string& name : names) days[name] = "1";
    return write(days);
  }
  [[nodiscard]] std::string shadow() const { return contentOf(database_.paths.shadow); }

  static constexpr const char* kShadow =
      "root:$y$root:19000:0:99999:7:::\nann:$y$ann:19000:0:99999:7:::\nben:$y$ben:19000:0:99999:7::"
      "30000:\n"
      "cid:$y$cid:19000:0:99999:7:::\nweb:*:19000:0:99999:7:::\n";

  TemporaryFolder folder_;
  ListedAccounts source_;
  AccountDatabase database_;
};

}  // namespace zevo::testing_support
