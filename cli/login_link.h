// The command "login-link".
#pragma once

#include <optional>
#include <string>

#include "exit_code.h"

namespace cli {

struct LoginLink {
  std::optional<std::string> user;  // nothing: root
  std::optional<std::string> url;   // of the page; nothing: the one of a usual installation

  bool operator==(const LoginLink&) const = default;
};

// Prints a link that logs the user in to the page, once and within five minutes. The secret stands
// behind the address's "#", which browsers send to nobody; the page posts it.
ExitCode makeLoginLink(const LoginLink& request);

}  // namespace cli
