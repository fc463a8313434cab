// Names of accounts.
#pragma once

#include <string_view>

#include <climits>

namespace zevo {

// Whether a name service may be asked for `name`: no account has an empty or a longer name, and
// some sources copy what they are asked for to their stack. Every look-up by name asks here first.
[[nodiscard]] inline bool canBeAccountName(std::string_view name) {
  return !name.empty() && name.size() < LOGIN_NAME_MAX && name.find('\0') == std::string_view::npos;
}

}  // namespace zevo
