// Looks up accounts and groups in the name service.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <pwd.h>
#include <set>
#include <string>
#include <sys/types.h>

#include "zevo/account.h"

namespace zevo {

// The reentrant calls of the C library; tests use their own.
struct NameService {
  int (*byName)(const char* name, passwd* entry, char* buffer, std::size_t size, passwd** found);
  int (*byId)(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** found);

  static const NameService& system();
};

// ZEVOUserGet over `service`.
int lookUpAccount(const NameService& service, const char* name, UserRecord** user);

struct Account {
  std::string name, password, shell;  // the password as the name service shows it: "x", "*"
  uid_t uid = 0;
  gid_t gid = 0;
};

struct Group {
  gid_t gid = 0;
  std::set<std::string> members;  // the members listed in the group, without its primary members
};

// The two fields for locked and expired accounts.
struct ShadowFields {
  std::string password, expiryDay;
};

// The name service, with all sources of the server; tests use their own. The functions with an int
// result return 0 or an errno; if the entry does not exist, 0 and an empty optional.
class AccountSource {
 public:
  AccountSource() = default;
  virtual ~AccountSource() = default;
  AccountSource(const AccountSource&) = delete;
  AccountSource& operator=(const AccountSource&) = delete;

  virtual int account(const std::string& name, std::optional<Account>* account);
  virtual int group(const std::string& name, std::optional<Group>* group);
  virtual int shadow(const std::string& name, std::optional<ShadowFields>* shadow);
  // Names of the accounts whose primary group is `group`, from sources that enumerate their
  // accounts; directory services often do not.
  virtual int primaryMembers(gid_t group, std::set<std::string>* names);
  // Whether a login of the account gets `group`. A source that fails adds no group.
  virtual bool isInGroup(const std::string& name, gid_t primary, gid_t group);

  // The system's.
  static AccountSource& system();
};

}  // namespace zevo
