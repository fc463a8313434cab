#include "calls/route.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/numbers.h"
#include "base/text.h"

namespace calls {
namespace {

constexpr const char* kGet = "GET";
constexpr const char* kPost = "POST";
constexpr const char* kGetAndPost = "GET, POST";
constexpr std::string_view kPrefix = "/api/";

struct FixedRoute {
  std::string_view path;
  Endpoint endpoint;
  const char* allowed;
};

constexpr std::array<FixedRoute, 8> kFixedRoutes = {{
    {kLoginPath, Endpoint::kLogin, kPost},
    {"/api/logout", Endpoint::kLogout, kPost},
    {"/api/whoami", Endpoint::kWhoAmI, kGet},
    {"/api/plan", Endpoint::kPlan, kPost},
    {"/api/perform", Endpoint::kPerform, kPost},
    {"/api/enable", Endpoint::kEnable, kPost},
    {"/api/disabled", Endpoint::kDisabled, kGet},
    {"/api/openapi.json", Endpoint::kDescription, kGet},
}};

// Methods that only read may be called with GET. Any method not listed here is assumed to change
// something.
constexpr std::array<std::string_view, 4> kReadingMethods = {"list", "get", "list_by_user",
                                                             "download"};

// A view login may only look at the list. A report is a file that anybody at the display could take
// away.
constexpr std::array<std::string_view, 3> kViewMethods = {"list", "get", "list_by_user"};

template <std::size_t kSize>
bool contains(const std::array<std::string_view, kSize>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::optional<std::int64_t> versionOf(std::string_view text) {
  const auto version = zevo::parseNumber<std::int64_t>(text);
  return version && std::to_string(*version) == text ? version : std::nullopt;
}

Route methodRoute(std::string_view path, const Modules& modules) {
  const std::string_view api = zevo::takeUntil('/', path);
  const auto version = versionOf(zevo::takeUntil('/', path));
  const ApiHandler handler = version ? modules.find(api, *version, path) : nullptr;
  if (handler == nullptr) return {};
  const bool reads = contains(kReadingMethods, path);
  return {Endpoint::kMethod, reads ? kGetAndPost : kPost, handler, !reads,
          contains(kViewMethods, path)};
}

}  // namespace

bool Route::allows(std::string_view httpMethod) const {
  const std::string_view all = allowed;
  return httpMethod == all || (all == kGetAndPost && (httpMethod == kGet || httpMethod == kPost));
}

Route routeOf(std::string_view path, const Modules& modules) {
  for (const FixedRoute& route : kFixedRoutes) {
    if (route.path != path) continue;
    return {.endpoint = route.endpoint,
            .allowed = route.allowed,
            .isForView = route.endpoint == Endpoint::kWhoAmI};
  }
  if (!path.starts_with(kPrefix)) return {};
  return methodRoute(path.substr(kPrefix.size()), modules);
}

}  // namespace calls
