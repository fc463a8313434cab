// The secrets that stand for a login to the web interface.
#pragma once

#include <string>
#include <string_view>

#include "zevo/export.h"

namespace zevo {

// 256 random bits of the kernel in base64url: 43 characters. What a client holds; a server keeps
// only its tokenHash.
ZEVO_EXPORT std::string newLoginToken();

// SHA-256 of the text `token`, in base64url: 43 characters, always a safe file name. The id of a
// login in the session file is the hash of its client's token.
ZEVO_EXPORT std::string tokenHash(std::string_view token);

// HMAC-SHA-256 of `text` under `key`, in base64url: 43 characters. Who does not know the key can
// neither make it nor try texts against it.
ZEVO_EXPORT std::string keyedHash(std::string_view key, std::string_view text);

// Whether `text` has the form of a token: 43 characters of base64url.
ZEVO_EXPORT bool isLoginToken(std::string_view text);

}  // namespace zevo
