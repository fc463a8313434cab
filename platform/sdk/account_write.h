// Writing shadow records.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "base/atomic_file.h"
#include "sdk/account_lookup.h"

namespace zevo {

// The account files; tests use their own.
struct AccountPaths {
  std::string shadow = "/etc/shadow";
  std::string shells = "/etc/shells";
  std::string lock = "/etc/.pwd.lock";
};

// The accounts and the rule of an account write.
struct AccountDatabase {
  AccountPaths paths;
  std::string administratorsGroup;
  int minAdmins = 1;
  long today = 0;                             // days since 1970
  std::chrono::milliseconds lockWait{15000};  // as lckpwdf(3) waits
  FileOperations* operations = &FileOperations::system();
  AccountSource* source = &AccountSource::system();
};

// The expiry days of accounts, as in the fields of the shadow entries.
using ExpiryFields = std::map<std::string, std::string>;

struct ShadowWrite {
  enum class Purpose {
    kChange,   // applies the rule on administrators; each name must have an entry
    kRestore,  // no rule on administrators; a name without an entry is skipped
  };
  Purpose purpose = Purpose::kChange;
  std::set<std::string> names;
  // Called once, with the files locked and all rules except that on administrators checked: maps
  // the present fields of `names` to the new ones. Any code except ZEVO_ERR_NONE, which it has set
  // and noted, stops the write.
  std::function<int(ExpiryFields& fields)> decide;
  // Called with the files locked just before the write: the last step that can stop it.
  std::function<int()> prepare = {};
};

// Writes all changes or none. Returns ZEVO_ERR_NONE, or the error that it has set and noted.
int writeShadow(const AccountDatabase& database, const ShadowWrite& write);

// The expiry day of each of `names` that has an entry, read without a lock. False, with the last
// error set and noted, if the file cannot be read.
bool readExpiry(const AccountPaths& paths, const std::set<std::string>& names,
                ExpiryFields* fields);

}  // namespace zevo
