// The command "login-link".
#pragma once

#include <optional>
#include <string>

#include "cli/exit_code.h"

namespace cli {

struct LoginLink {
  std::optional<std::string> user;  // nothing: root
  std::optional<std::string> url;   // of the page; nothing: the default installation's
  std::optional<int> viewDays;      // of a view-only login; nothing: a login with all rights

  bool operator==(const LoginLink&) const = default;
};

inline constexpr int kViewDays = 30;
inline constexpr int kMostViewDays = 366;

// Prints a link that logs the user in to the page, once, within five minutes; with `viewDays`, to a
// view-only login for that many days. The secret follows the "#" of the address, which browsers do
// not send; the page posts it.
ExitCode makeLoginLink(const LoginLink& request);

}  // namespace cli
