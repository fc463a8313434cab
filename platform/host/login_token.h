// The secrets of logins to the page.
#pragma once

#include <string>
#include <string_view>

#include "zevo/export.h"

namespace zevo {

// 256 random bits from the kernel in base64url: 43 characters. The client keeps it; the server
// keeps only its tokenHash.
ZEVO_EXPORT std::string newLoginToken();

// SHA-256 of the text `token`, in base64url: 43 characters, always a safe file name. The id of a
// login in the session file is the hash of its client's token.
ZEVO_EXPORT std::string tokenHash(std::string_view token);

// HMAC-SHA-256 of `text` under `key`, in base64url: 43 characters. Without the key it is not
// possible to compute it or to test texts against it.
ZEVO_EXPORT std::string keyedHash(std::string_view key, std::string_view text);

// Whether `text` has the form of a token: 43 characters of base64url.
ZEVO_EXPORT bool isLoginToken(std::string_view text);

}  // namespace zevo
