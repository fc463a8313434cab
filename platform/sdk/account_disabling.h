// Disabling accounts in all databases of this server, and enabling them again.
#pragma once

#include <chrono>
#include <ctime>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/disabled_accounts.h"
#include "sdk/account_write.h"
#include "sdk/disabling_record.h"
#include "sdk/samba_entry.h"

namespace zevo {

inline constexpr std::string_view kDisablingField = "1";  // kDisablingDay in the shadow entry

// The files and tools; tests use their own.
struct DisablingTools {
  AccountDatabase accounts;
  SambaTool samba;
  std::string recordFolder;
  std::chrono::milliseconds recordWait{60000};  // others run Samba's tool in between
  Actor actor;
  std::time_t now = 0;

  // The files and tools of this server.
  static DisablingTools system();
};

// An account that is disabled except for its Samba entry, and a sentence with the reason.
struct StillLetIn {
  std::string user;
  std::string detail;
};

// Disables the accounts, in this order:
// 1. the record is locked and read, and Samba's entries are read: a tool that does not work stops
//    the batch here;
// 2. with the shadow file locked and the rules checked, the record is written;
// 3. the new shadow file is renamed over the old one: the point of no return. Up to here a failure
//    changes nothing (the record is written back);
// 4. Samba's entries get their flag, one after the other; those that fail are put into *stillLetIn,
//    for want of memory too.
// An account that is already disabled keeps its first record, but an expiry or Samba flag that was
// changed since is recorded; an entry that was enabled at first remains recorded as enabled. An
// account without any change gets no record. Returns ZEVO_ERR_NONE, or the error that it has set
// and noted.
int disableAccounts(const DisablingTools& tools, const std::set<std::string>& names,
                    std::vector<StillLetIn>* stillLetIn);

// disablingRefusal, enableAccounts and disabledAccounts of host/disabled_accounts.h.
int disablingRefusal(const DisablingTools& tools, const std::set<std::string>& names);
Enabling enableAccounts(const DisablingTools& tools, const std::set<std::string>& names);
std::optional<std::vector<DisabledAccount>> disabledAccounts(const DisablingTools& tools);

}  // namespace zevo
