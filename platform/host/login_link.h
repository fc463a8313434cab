// Single-use links that log an account in to the page without a password.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "zevo/export.h"

namespace zevo {

inline constexpr int kLoginLinkSeconds = 300;

// The account of a link. The user id and the mark are stored with the name, so that the link does
// not work for a later account of the same name, nor after a change of the password.
struct LinkAccount {
  std::string name;  // the account name: "root" for uid 0
  uid_t uid = 0;
  // When the resulting login ends; only for view logins (host/web_login.h).
  std::optional<std::time_t> viewUntil = std::nullopt;
  std::string passwordMark = {};  // of the account when the link was created (host/web_login.h)

  bool operator==(const LinkAccount&) const = default;
};

// Creates a link for the account beside the session file at `sessionFilePath` and stores its token
// in *token: whoever posts it within kLoginLinkSeconds is logged in as that account, once. Only the
// token's hash is kept. Returns false, with the last error set, if it cannot be written. Needs the
// rights of the session file's owner.
ZEVO_EXPORT bool createLoginLink(const std::string& sessionFilePath, const LinkAccount& account,
                                 std::string* token);

// Uses up the link of `token`: only one of several callers, in any process, gets its account. None
// if the link does not exist, or no longer does. Also removes expired links.
ZEVO_EXPORT std::optional<LinkAccount> takeLoginLink(const std::string& sessionFilePath,
                                                     std::string_view token);

}  // namespace zevo
