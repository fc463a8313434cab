// The accounts of this server, as far as the daemon needs them.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

#include "host/login_state.h"

namespace calls {

struct Account {
  std::string name;  // its own: "root" for uid 0
  uid_t uid = 0;
  bool isExpired = false;        // disabled, or past its expiry day
  bool isAdministrator = false;  // uid 0, or a member of the administrators' group
  bool isLocked = false;
  bool hasLoginShell = true;
  std::string passwordMark = {};  // differs after each change of the password; never empty

  // Why the account cannot log in to the page; empty if it can.
  [[nodiscard]] std::string objection(zevo::LoginBy by = zevo::LoginBy::kLink) const;

  // The name in modules and lists: "admin" for uid 0.
  [[nodiscard]] std::string loginName() const;
};

// A failed look-up counts as "no such account", so that access is denied.
class Accounts {
 public:
  Accounts() = default;
  virtual ~Accounts() = default;
  Accounts(const Accounts&) = delete;
  Accounts& operator=(const Accounts&) = delete;

  // By account name; "admin" is uid 0 if no account has that name.
  virtual std::optional<Account> byName(const std::string& name) = 0;
  virtual std::optional<Account> byUid(uid_t uid) = 0;
};

// The accounts of the name service and the shadow file, with the configured administrators' group.
// Needs root's rights to read the shadow file.
class SystemAccounts : public Accounts {
 public:
  // `key` is that of the password marks.
  explicit SystemAccounts(std::string key) : key_(std::move(key)) {}

  std::optional<Account> byName(const std::string& name) override;
  std::optional<Account> byUid(uid_t uid) override;

 private:
  std::string key_;
};

}  // namespace calls
