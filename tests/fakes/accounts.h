// The accounts of the server.
#pragma once

#include <map>
#include <string>

#include "zevo/account.h"

#include "fakes/blocks.h"

namespace fakes {

// A look-up of a name that the test has not scripted fails it. The code under test must come with a
// null pointer, and give back every record once.
class Accounts {
 public:
  Accounts(Calls& calls, Blocks& blocks) : calls_(calls), blocks_(blocks) {}

  void add(const std::string& name, uid_t uid) { accounts_[name] = {0, true, uid}; }
  // Look-ups of `name` return `result` (negative) and leave the pointer null.
  void addUnknown(const std::string& name, int result = -1) {
    accounts_[name] = {result, false, 0};
  }
  // The same, but with a record all the same.
  void addUnknownWithRecord(const std::string& name, uid_t uid) {
    accounts_[name] = {-1, true, uid};
  }
  // Look-ups of `name` succeed without a record.
  void addWithoutRecord(const std::string& name) { accounts_[name] = {0, false, 0}; }

  // Look-ups of all names that are not scripted fail as if unknown.
  void addAnyUnknown() { anyUnknown_ = true; }

  int get(const char* name, UserRecord** user);
  void release(UserRecord* user);

 private:
  struct Account {
    int result;
    bool withRecord;
    uid_t uid;
  };
  Calls& calls_;
  Blocks& blocks_;
  std::map<std::string, Account> accounts_;
  bool anyUnknown_ = false;
};

}  // namespace fakes
