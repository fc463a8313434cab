// Accounts by their names and ids.
#pragma once

#include <pwd.h>
#include <string>
#include <string_view>
#include <sys/types.h>

#include <climits>

#include "base/name_service.h"

namespace zevo {

// Whether the name service may be queried for `name`: no account has an empty or a longer name, and
// some sources copy the name to their stack. Every look-up by name checks this first.
[[nodiscard]] inline bool canBeAccountName(std::string_view name) {
  return !name.empty() && name.size() < LOGIN_NAME_MAX && name.find('\0') == std::string_view::npos;
}

// The account with that id, and that of this name.
NameServiceAnswer<passwd> askForAccount(uid_t uid);
NameServiceAnswer<passwd> askForAccount(const std::string& name);

// The name of the account with the id `uid`; like ps, the id itself if there is no such account or
// the name service fails.
std::string accountName(uid_t uid);

}  // namespace zevo
