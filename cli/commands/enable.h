// The commands "enable" and "disabled".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/client.h"
#include "cli/exit_code.h"

namespace cli {

struct Enable {
  std::vector<std::string> users;  // each once

  bool operator==(const Enable&) const = default;
};

struct ShowDisabled {
  bool asJson = false;

  bool operator==(const ShowDisabled&) const = default;
};

// The request for `users`, as typed. Nothing, with `*wrong` a sentence, where it makes no sense.
std::optional<Enable> checkEnable(const std::vector<std::string>& users, std::string* wrong);

// The command line that undoes the disabling of `user`.
std::string enablingCommand(const std::string& user);

// Undoes the disabling of the accounts, all or none, and reports what became of each.
ExitCode enable(const Enable& request, Client& client);

// Prints the accounts that are disabled.
ExitCode showDisabled(const ShowDisabled& request, Client& client);

}  // namespace cli
