// The paths of the HTTP API.
#pragma once

#include <string_view>

#include "zevo/api_table.h"

#include "calls/modules.h"

namespace calls {

inline constexpr std::string_view kLoginPath = "/api/login";

enum class Endpoint {
  kLogin,
  kLogout,
  kWhoAmI,
  kPlan,
  kPerform,
  kEnable,
  kDisabled,
  kDescription,
  kMethod,
  kNone
};

struct Route {
  Endpoint endpoint = Endpoint::kNone;
  const char* allowed = "";      // HTTP methods, as the Allow header names them
  ApiHandler handler = nullptr;  // of kMethod
  bool changesState = false;     // of kMethod: the call changes something
  bool isForView = false;        // a view login may do it

  [[nodiscard]] bool allows(std::string_view httpMethod) const;
};

// The target of `path`. Paths are exact: one with an escape or a dot segment has no target.
Route routeOf(std::string_view path, const Modules& modules);

}  // namespace calls
