// The cookie of a login.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace calls {

// The name of the cookie. With TLS its prefix makes browsers accept it only from this server over
// TLS, so that no other server in the domain can set it.
std::string cookieName(bool tls);

// The value of our cookie in the Cookie header `header`. None if it is missing, occurs twice (one
// of the two was planted), or is not a token.
std::optional<std::string> cookieToken(std::string_view header, bool tls);

// The value of a Set-Cookie header that sets `token`, for `seconds` or until the browser is closed,
// or that deletes it.
std::string cookieOf(const std::string& token, bool tls,
                     std::optional<long> seconds = std::nullopt);
std::string cookieTakenBack(bool tls);

}  // namespace calls
