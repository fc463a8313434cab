// The cookie that stands for a login.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace calls {

// Name of the cookie. Behind TLS its prefix makes browsers take it only from this very server over
// TLS, so that no neighbour in the domain can plant one.
std::string cookieName(bool tls);

// Value of our cookie in the Cookie header `header`. None where it is not there, stands there twice
// (one of the two was planted), or is no token.
std::optional<std::string> cookieToken(std::string_view header, bool tls);

// Value of a Set-Cookie header that gives `token`, for `seconds` or until the browser ends, or
// takes it back.
std::string cookieOf(const std::string& token, bool tls,
                     std::optional<long> seconds = std::nullopt);
std::string cookieTakenBack(bool tls);

}  // namespace calls
