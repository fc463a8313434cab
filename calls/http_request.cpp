#include "calls/http_request.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <netinet/in.h>

namespace calls {
namespace {

constexpr std::array<std::string_view, 13> kReadHeaders = {
    "CONTENT_LENGTH", "CONTENT_TYPE", "HTTPS",           "HTTP_CONTENT_TYPE",
    "HTTP_COOKIE",    "HTTP_HOST",    "HTTP_ORIGIN",     "HTTP_SEC_FETCH_SITE",
    "REMOTE_ADDR",    "REQUEST_URI",  "HTTP_USER_AGENT", "HTTP_CURRENTCONN_BACKGROUND",
    "REQUEST_METHOD"};

std::string textOf(const ScgiRequest& request, std::string_view name) {
  const std::string* value = request.header(name);
  return value == nullptr ? std::string() : *value;
}

std::optional<std::string> optionalText(const ScgiRequest& request, std::string_view name) {
  const std::string* value = request.header(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(*value);
}

std::string shown(int family, const void* address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(family, address, text.data(), text.size()) == nullptr ? "" : text.data();
}

}  // namespace

bool isReadHeader(std::string_view name) {
  return std::find(kReadHeaders.begin(), kReadHeaders.end(), name) != kReadHeaders.end();
}

std::optional<std::string> canonicalAddress(std::string_view text) {
  const std::string address(text.substr(0, text.find('%')));
  if (address.find('\0') != std::string::npos) return std::nullopt;
  in_addr v4{};
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) return shown(AF_INET, &v4);
  in6_addr v6{};
  if (inet_pton(AF_INET6, address.c_str(), &v6) != 1) return std::nullopt;
  if (!IN6_IS_ADDR_V4MAPPED(&v6)) return shown(AF_INET6, &v6);
  std::memcpy(&v4, &v6.s6_addr[12], sizeof v4);
  return shown(AF_INET, &v4);
}

std::optional<HttpRequest> httpRequest(ScgiRequest&& request) {
  HttpRequest http;
  http.method = textOf(request, "REQUEST_METHOD");
  const std::string target = textOf(request, "REQUEST_URI");
  if (http.method.empty() || !target.starts_with('/')) return std::nullopt;
  const std::size_t mark = std::min(target.find('?'), target.size());
  http.path = target.substr(0, mark);
  if (mark < target.size()) http.query = target.substr(mark + 1);
  http.contentType = textOf(request, "CONTENT_TYPE");
  http.cookie = optionalText(request, "HTTP_COOKIE");
  http.host = textOf(request, "HTTP_HOST");
  http.origin = optionalText(request, "HTTP_ORIGIN");
  http.fetchSite = optionalText(request, "HTTP_SEC_FETCH_SITE");
  http.userAgent = textOf(request, "HTTP_USER_AGENT");
  http.rootsWord = {textOf(request, kAsUserHeader), textOf(request, kSudoUserHeader),
                    textOf(request, kTerminalHeader)};
  http.tls = textOf(request, "HTTPS") == "on";
  http.background = textOf(request, "HTTP_CURRENTCONN_BACKGROUND") == "1";
  if (const std::string* address = request.header("REMOTE_ADDR")) {
    http.remoteAddress = canonicalAddress(*address);
    if (!http.remoteAddress) return std::nullopt;
  }
  http.body = std::move(request.body);
  return http;
}

}  // namespace calls
