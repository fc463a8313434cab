// One HTTP request, as far as this daemon looks at it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "calls/scgi.h"

namespace calls {

// What root's command line tells of who uses it; nobody else may say such a thing.
struct RootsWord {
  std::string asUser;    // whose connections are meant; empty: all
  std::string sudoUser;  // who became root; empty where nobody did
  std::string terminal;  // at which, "pts/3"; empty where at none

  [[nodiscard]] bool isEmpty() const {
    return asUser.empty() && sudoUser.empty() && terminal.empty();
  }
};

inline constexpr const char* kAsUserHeader = "CURRENTCONN_AS_USER";
inline constexpr const char* kSudoUserHeader = "CURRENTCONN_SUDO_USER";
inline constexpr const char* kTerminalHeader = "CURRENTCONN_TERMINAL";

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
  RootsWord rootsWord;
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

}  // namespace calls
