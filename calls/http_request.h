// One HTTP request, as far as this daemon uses it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "calls/scgi.h"

namespace calls {

// What root's command line reports about its user; nobody else may send this.
struct RootsWord {
  std::string asUser;    // the user whose connections are requested; empty: all
  std::string sudoUser;  // who became root; empty if nobody did
  std::string terminal;  // "pts/3"; empty if there is none

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
  std::optional<std::string> fetchSite;  // from the browser, about the page that sends the call
  std::string userAgent;
  bool tls = false;
  RootsWord rootsWord;
  bool background = false;  // automatic refresh: not an activity of the login
};

// Whether httpRequest reads the SCGI header `name`.
bool isReadHeader(std::string_view name);

// None if the request has no method, a path without a leading slash, or an invalid address.
std::optional<HttpRequest> httpRequest(ScgiRequest&& request);

// `text` as a numeric address in its canonical form, IPv4-mapped IPv6 as IPv4, without port and
// scope; none if it is not an address.
std::optional<std::string> canonicalAddress(std::string_view text);

}  // namespace calls
