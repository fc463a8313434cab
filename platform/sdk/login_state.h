// The rules for logging in.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/file_failure.h"
#include "host/login_state.h"
#include "sdk/account_lookup.h"

namespace zevo {

// The shells in the list at `path`; none if the system has no such list.
std::optional<FileFailure> readShells(const std::string& path, std::set<std::string>* shells);

// Whether `shell` is a login shell. `shells` empty: the system has no list, and any except nologin
// and false is accepted.
bool isLoginShell(const std::set<std::string>& shells, const std::string& shell);

// Whether, by this field of a shadow entry, the account has expired on `today`, a day since 1970.
bool isExpired(std::string_view expiryDay, long today);

// Whether the password field of a shadow entry is locked.
bool isLocked(std::string_view password);
// The same for the field of an account without such an entry.
bool isLockedWithoutEntry(std::string_view password);

// loginState from `source`, with the list of shells at `shellsPath`, on `today`.
LoginState loginStateOf(AccountSource& source, const std::string& shellsPath,
                        const std::string& name, long today);

}  // namespace zevo
