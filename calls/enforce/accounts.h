// The accounts to be disabled.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <vector>

#include <json/value.h>

namespace calls::enforce {

// Why accounts would not be disabled.
struct Refusals {
  // Of single accounts: {"reason": key}, with the key own_account, directory_account (an account of
  // a directory service or a container), unknown_account, not_local (without a line of its own in
  // the shadow file) or root_account.
  std::map<std::string, Json::Value> ofAccounts;
  // Of the batch, all or none: one of those with "user"; too_few_administrators with "causes"; or
  // failed with "causes" if that cannot be determined. Null if it would be disabled.
  Json::Value ofAll;
};

// Whether the guard of the account write would refuse to disable `users`, and whom the method would
// silently skip. `own`: names of the caller's account.
Refusals refusalsOf(const std::vector<std::string>& users, const std::set<std::string>& own);

// Whether the account is disabled now; nothing if there is no such account.
std::optional<bool> isDisabled(const std::string& user);

// An array: for each of `users` {"user", "exists", "disabled", "access", "left_running"}, as they
// would be once all of them are disabled and the processes `ending` have gone.
Json::Value accountPlans(const std::vector<std::string>& users, const std::vector<pid_t>& ending);

// An array: for each of `users`, which were to be disabled, {"user", "disabled", "access",
// "left_running", "undo"}. The last one has "expiry_before", a day or null, and is there where the
// disabling can be undone.
Json::Value accountResults(const std::vector<std::string>& users);

}  // namespace calls::enforce
