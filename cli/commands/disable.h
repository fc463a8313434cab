// The command "disable".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/client.h"
#include "cli/exit_code.h"

namespace cli {

struct Disable {
  std::vector<std::string> users;
  bool isConfirmed = false;  // do not ask
  bool isDryRun = false;     // only show

  bool operator==(const Disable&) const = default;
};

// The request for `users`, as typed. Nothing, with a sentence in `*wrong`, if they are invalid.
std::optional<Disable> checkDisable(const std::vector<std::string>& users, std::string* wrong);

// Shows the plan for the accounts, asks, performs it and reports the result for each account and
// each connection, with the commands that undo it.
ExitCode disable(const Disable& request, Client& client);

}  // namespace cli
