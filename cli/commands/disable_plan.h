// What disabling accounts would do, and what it did.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/answer.h"
#include "cli/client/connection.h"
#include "cli/commands/failure.h"
#include "cli/exit_code.h"

namespace cli {

// An account's expiry before and after, as expiryOf gives it.
struct AccountChange {
  std::string user;
  std::optional<long> before;
  std::optional<long> after;
  bool canBeUndone = false;  // the record of disabled accounts has it
};

// Those of `connections` that end with the accounts of `users`: the method goes by the name in the
// list alone.
std::vector<Connection> connectionsOf(const std::vector<std::string>& users,
                                      const std::vector<Connection>& connections);

// Other users whose connections end, because one process serves them together; a sentence each.
std::vector<std::string> othersHit(const std::vector<std::string>& users,
                                   const std::vector<Connection>& connections);

// Those of `theirs` that do not end for sure, a sentence each. Disabling asks for no address, and
// it checks only the first of its processes by name, so a login at the console may end as well.
std::vector<std::string> thoseThatMayStay(const std::vector<Connection>& theirs);

// A line for each account: whether it is disabled now, and how to undo that.
std::vector<std::string> accountLines(const std::vector<AccountChange>& changes);

// "whether alice or bob is connected over SMB is not known:".
std::string doubtOver(const std::string& service, const std::vector<std::string>& users);

// Why `answer` is no success. `isWritten`: the accounts are disabled all the same.
Failure explainDisableFailure(const Answer& answer, bool isWritten);

}  // namespace cli
