// Determines whether an account may log in.
#pragma once

#include <optional>
#include <string>

#include "zevo/account.h"
#include "zevo/export.h"

namespace zevo {

// The state of an account according to the name service.
struct LoginState {
  bool isExpired = false;      // disabled, or past its expiry day
  bool isLocked = false;       // no password is accepted: its field begins with "!" or "*"
  bool hasLoginShell = false;  // one of /etc/shells, if the system has that list
  // From the shadow entry, or from the account if it has none; differs after each change of the
  // password. If a directory service does not disclose it, it is always the same.
  std::string passwordField;
};

// For an account from ZEVOUserGet. What cannot be read counts against the account. Needs root's
// rights to read the shadow file.
//
// An account without a shadow entry belongs to another source, which checks it at the login: it is
// locked if its password field begins with "!", and if the field is "x", since the entry is missing
// then. nologin and false are never login shells, even if /etc/shells has them.
ZEVO_EXPORT LoginState loginState(const UserRecord& user);

enum class LoginBy { kLink, kPassword };

// Why an account in this state cannot log in to the page; empty if it can. root makes its link
// itself, for which it needs neither a password nor a shell.
inline std::string objectionToLogin(const LoginState& state, uid_t uid,
                                    LoginBy by = LoginBy::kLink) {
  if (state.isExpired) return "the account is disabled or has expired";
  if (uid == 0 && by == LoginBy::kLink) return "";
  if (state.isLocked) return "the account is locked";
  return state.hasLoginShell ? "" : "the account has no login shell";
}

// Whether the account `uid` is root while an account "admin" exists, so that the page could not
// tell the two apart and root cannot log in. `alias`: the id that a look-up of "admin" finds.
inline bool isShadowedRoot(uid_t uid, std::optional<uid_t> alias) {
  return uid == 0 && alias && *alias != 0;
}

}  // namespace zevo
