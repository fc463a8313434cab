// The accounts of this server, as far as the daemon asks for them.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace calls {

struct Account {
  std::string name;  // its own: "root" for uid 0
  uid_t uid = 0;
  bool isExpired = false;        // disabled, or its day has come
  bool isAdministrator = false;  // uid 0, or a member of the administrators' group
  bool isLocked = false;
  bool hasLoginShell = true;
  std::string passwordMark = {};  // another one after each change of the password; never empty

  // Why it cannot be logged in to the page; empty where it can. root's link is made by root, who
  // may well have neither password nor shell.
  [[nodiscard]] std::string objection() const;

  // As modules and lists see it: "admin" for uid 0.
  [[nodiscard]] std::string loginName() const;
};

// A look-up that fails counts as "no such account": who cannot be looked up gets in nowhere.
class Accounts {
 public:
  Accounts() = default;
  virtual ~Accounts() = default;
  Accounts(const Accounts&) = delete;
  Accounts& operator=(const Accounts&) = delete;

  // By account name; "admin" is uid 0 where no account has that name.
  virtual std::optional<Account> byName(const std::string& name) = 0;
  virtual std::optional<Account> byUid(uid_t uid) = 0;
};

// Those of the name service, the shadow file and the configuration's administrators' group. Needs
// root's rights to read the shadow file.
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
