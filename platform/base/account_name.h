// Accounts by their names and ids.
#pragma once

#include <pwd.h>
#include <string>
#include <string_view>
#include <sys/types.h>

#include <climits>

#include "base/name_service.h"

namespace zevo {

// Whether a name service may be asked for `name`: no account has an empty or a longer name, and
// some sources copy what they are asked for to their stack. Every look-up by name asks here first.
[[nodiscard]] inline bool canBeAccountName(std::string_view name) {
  return !name.empty() && name.size() < LOGIN_NAME_MAX && name.find('\0') == std::string_view::npos;
}

// The account with that id, and that of this name.
NameServiceAnswer<passwd> askForAccount(uid_t uid);
NameServiceAnswer<passwd> askForAccount(const std::string& name);

// Name of the account with the id `uid`; the id itself where no account has it (any longer) or the
// name service does not answer, as ps writes it.
std::string accountName(uid_t uid);

}  // namespace zevo
