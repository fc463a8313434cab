// Writing shadow records.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "base/atomic_file.h"
#include "sdk/account_change.h"
#include "sdk/account_lookup.h"

namespace zevo {

// Where the accounts are; a test gives its own.
struct AccountPaths {
  std::string shadow = "/etc/shadow";
  std::string shells = "/etc/shells";
  std::string lock = "/etc/.pwd.lock";
};

// The accounts and the rule that an account write keeps.
struct AccountDatabase {
  AccountPaths paths;
  std::string administratorsGroup;
  int minAdmins = 1;
  long today = 0;                             // days since 1970
  std::chrono::milliseconds lockWait{15000};  // as lckpwdf(3) waits
  FileOperations* operations = &FileOperations::system();
  AccountSource* source = &AccountSource::system();
};

struct AccountChange {
  std::string name;
  VLIBUserShadow shadow;
};

// Writes all changes or none. Returns ZEVO_ERR_NONE, or the error that it has set and noted.
int writeShadow(const AccountDatabase& database, const std::vector<AccountChange>& changes);

}  // namespace zevo
