#include "calls/cookie.h"

#include "base/text.h"
#include "host/login_token.h"

namespace calls {
namespace {

// Without TLS every port of the server receives the cookie; the path at least limits it to these
// calls.
std::string attributes(bool tls) {
  return std::string("; Path=") + (tls ? "/" : "/api/") + "; HttpOnly; SameSite=Strict" +
         (tls ? "; Secure" : "");
}

}  // namespace

std::string cookieName(bool tls) {
  return tls ? "__Host-currentconn" : "currentconn";
}

std::optional<std::string> cookieToken(std::string_view header, bool tls) {
  const std::string prefix = cookieName(tls) + "=";
  std::optional<std::string> token;
  while (!header.empty()) {
    std::string_view pair = zevo::takeUntil(';', header);
    while (pair.starts_with(' ')) pair.remove_prefix(1);
    if (!pair.starts_with(prefix)) continue;
    if (token) return std::nullopt;
    token = std::string(pair.substr(prefix.size()));
  }
  return token && zevo::isLoginToken(*token) ? token : std::nullopt;
}

std::string cookieOf(const std::string& token, bool tls, std::optional<long> seconds) {
  const std::string age = seconds ? "; Max-Age=" + std::to_string(*seconds) : "";
  return cookieName(tls) + "=" + token + attributes(tls) + age;
}

std::string cookieTakenBack(bool tls) {
  return cookieName(tls) + "=" + attributes(tls) + "; Max-Age=0";
}

}  // namespace calls
