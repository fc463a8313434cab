// One HTTP request, as far as this daemon looks at it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "scgi.h"

namespace host {

struct HttpRequest {
  std::string method;
  std::string path;   // as it was sent, escapes and all
  std::string query;  // without the question mark; as it was sent
  std::string contentType;
  std::string body;
  std::optional<std::string> remoteAddress;  // numeric; IPv4-mapped IPv6 as IPv4
  std::optional<std::string> cookie;
  std::string host;
  std::optional<std::string> origin;
  std::optional<std::string> fetchSite;  // what the browser says of the page that sends the call
  std::string userAgent;
  bool tls = false;
  bool background = false;  // the page's own refresh: no activity of its login
};

// Whether httpRequest reads the SCGI header `name`.
bool isReadHeader(std::string_view name);

// None where the request has no method, a path that does not begin with a slash, or an address that
// is none.
std::optional<HttpRequest> httpRequest(ScgiRequest&& request);

// `text` as a numeric address in its canonical form, IPv4-mapped IPv6 folded to IPv4, without port
// and scope; none where it is no address.
std::optional<std::string> canonicalAddress(std::string_view text);

}  // namespace host
