// Whether an account may log in.
#pragma once

#include <string>

#include "zevo/account.h"
#include "zevo/export.h"

namespace zevo {

// What the name service tells of an account.
struct LoginState {
  bool isExpired = false;      // disabled, or its day has come
  bool isLocked = false;       // no password would do: its field begins with "!" or "*"
  bool hasLoginShell = false;  // one of /etc/shells, where the system has that list
  // Of its shadow entry, or where it has none of the account itself: another one after each change
  // of the password. A directory may keep it to itself; then it is always the same.
  std::string passwordField;
};

// Of an account that ZEVOUserGet gave. What cannot be read counts against the account. Needs root's
// rights to read the shadow file.
//
// An account without a shadow entry is another source's, which judges it at its login: its password
// field is locked where it begins with "!", and where it is "x", since the entry is missing then.
// nologin and false are no login shells, also where /etc/shells has them.
ZEVO_EXPORT LoginState loginState(const UserRecord& user);

}  // namespace zevo
