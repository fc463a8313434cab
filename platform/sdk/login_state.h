// The rules by which an account may log in.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "base/file_failure.h"
#include "host/login_state.h"
#include "sdk/account_lookup.h"

namespace zevo {

// The shells of the list at `path`; none where the system has no such list.
std::optional<FileFailure> readShells(const std::string& path, std::set<std::string>* shells);

// Whether one may log in with `shell`. `shells` empty: the system has no list, and any other than
// nologin and false will do.
bool isLoginShell(const std::set<std::string>& shells, const std::string& shell);

// Whether the field of a shadow entry says that the account has expired on `today`, a day since
// 1970.
bool isExpired(std::string_view expiryDay, long today);

// Whether the password field of a shadow entry is locked.
bool isLocked(std::string_view password);
// The same of the field that an account without such an entry shows.
bool isLockedWithoutEntry(std::string_view password);

// loginState over `source`, with the list of shells at `shellsPath`, on `today`.
LoginState loginStateOf(AccountSource& source, const std::string& shellsPath,
                        const std::string& name, long today);

}  // namespace zevo
