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

// The request for `users`, as typed. Nothing, with a sentence in `*wrong`, if it is invalid.
std::optional<Enable> checkEnable(const std::vector<std::string>& users, std::string* wrong);

// The command line that enables `user` again.
std::string enablingCommand(const std::string& user);

// Enables the accounts again, all or none, and reports the result for each.
ExitCode enable(const Enable& request, Client& client);

// Prints the accounts that are disabled.
ExitCode showDisabled(const ShowDisabled& request, Client& client);

}  // namespace cli
