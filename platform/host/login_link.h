// Single-use links by which an account gets into the web interface without a password.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "zevo/export.h"

namespace zevo {

inline constexpr int kLoginLinkSeconds = 300;

// Whom a link logs in. The number and the mark are kept beside the name, so that an account that
// takes the name over later gets nothing, and nobody does once the password was changed.
struct LinkAccount {
  std::string name;  // the account's own: "root" for uid 0
  uid_t uid = 0;
  // When the login ends that the link makes. Only that of a view login has it (host/web_login.h).
  std::optional<std::time_t> viewUntil = std::nullopt;
  std::string passwordMark = {};  // of the account when the link was made (host/web_login.h)

  bool operator==(const LinkAccount&) const = default;
};

// Makes a link for the account beside the session file at `sessionFilePath` and stores its token in
// *token: whoever posts it within kLoginLinkSeconds is logged in as that account, once. Only the
// token's hash is kept. Returns false with the last error set where it cannot be written. Needs the
// rights of the session file's owner.
ZEVO_EXPORT bool createLoginLink(const std::string& sessionFilePath, const LinkAccount& account,
                                 std::string* token);

// Takes the link of `token`: of several callers, in whatever processes, one gets its account. None
// where there is no such link, or no longer. Links that are too old are removed on the way.
ZEVO_EXPORT std::optional<LinkAccount> takeLoginLink(const std::string& sessionFilePath,
                                                     std::string_view token);

}  // namespace zevo
