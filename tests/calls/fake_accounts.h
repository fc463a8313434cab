// Accounts and logins in memory.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "calls/accounts.h"
#include "calls/identity.h"
#include "host/login_token.h"

namespace calls::testing_support {

class FakeAccounts : public Accounts {
 public:
  void add(Account account) {
    if (account.passwordMark.empty()) account.passwordMark = "mark of " + account.name;
    all_[account.name] = account;
  }
  void remove(const std::string& name) { all_.erase(name); }

  std::optional<Account> byName(const std::string& name) override {
    const auto found = all_.find(name);
    if (found != all_.end()) return found->second;
    return name == "admin" ? byUid(0) : std::nullopt;
  }
  std::optional<Account> byUid(uid_t uid) override {
    for (const auto& [name, account] : all_) {
      if (account.uid == uid) return account;
    }
    return std::nullopt;
  }

 private:
  std::map<std::string, Account> all_;
};

// Where the logins were made from.
inline constexpr const char* kLoginAddress = "10.20.0.5";

class FakeLogins : public Logins {
 public:
  // The client that holds `token` is logged in.
  void add(const std::string& token, const std::string& user, uid_t uid) {
    zevo::WebLogin login;
    login.id = zevo::tokenHash(token);
    login.user = user;
    login.uid = uid;
    login.address = kLoginAddress;
    login.passwordMark = "mark of " + (uid == 0 ? "root" : user);
    all[login.id] = login;
  }
  zevo::LoginSearch find(const std::string& id, zevo::WebLogin* login) override {
    if (isBroken) return zevo::LoginSearch::kFailed;
    const auto found = all.find(id);
    if (found == all.end()) return zevo::LoginSearch::kNone;
    *login = found->second;
    return zevo::LoginSearch::kFound;
  }
  void touch(const std::string& id) override { touched.push_back(id); }

  std::map<std::string, zevo::WebLogin> all;
  bool isBroken = false;
  std::vector<std::string> touched;
};

}  // namespace calls::testing_support
