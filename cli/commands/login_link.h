// The command "login-link".
#pragma once

#include <optional>
#include <string>

#include "cli/exit_code.h"

namespace cli {

struct LoginLink {
  std::optional<std::string> user;  // nothing: root
  std::optional<std::string> url;   // of the page; nothing: the one of a usual installation
  std::optional<int> viewDays;      // of a login that only lists; nothing: one with all rights

  bool operator==(const LoginLink&) const = default;
};

inline constexpr int kViewDays = 30;
inline constexpr int kMostViewDays = 366;

// Prints a link that logs the user in to the page, once and within five minutes; one to view for
// so many days from now. The secret stands
// behind the address's "#", which browsers send to nobody; the page posts it.
ExitCode makeLoginLink(const LoginLink& request);

}  // namespace cli
