#include "calls/same_origin.h"

#include <algorithm>
#include <string_view>

namespace calls {
namespace {

constexpr std::string_view kPlain = "http://";
constexpr std::string_view kEncrypted = "https://";

bool isHost(std::string_view authority, std::string_view host) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(authority.begin(), authority.end(), host.begin(), host.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

bool namesUs(std::string_view origin, const HttpRequest& request) {
  const bool encrypted = origin.starts_with(kEncrypted);
  if (!encrypted && !(origin.starts_with(kPlain) && !request.tls)) return false;
  origin.remove_prefix(encrypted ? kEncrypted.size() : kPlain.size());
  return !origin.empty() && isHost(origin, request.host);
}

}  // namespace

bool isSameOrigin(const HttpRequest& request) {
  if (request.fetchSite && *request.fetchSite != "same-origin") return false;
  return !request.origin || namesUs(*request.origin, request);
}

}  // namespace calls
