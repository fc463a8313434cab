// Prints what callers of the classes rely on beside their functions. The types that they hold are
// the standard library's and jsoncpp's, and differ between releases.
#include <cstddef>
#include <cstdio>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/cgi.h"
#include "zevo/string_bundle.h"

#define PRINT(value) std::printf("%s is %zu\n", #value, static_cast<std::size_t>(value))

// Does not compile with another number of fields.
[[maybe_unused]] static void namesAllFields(ZEVO::RequestContext& context) {
  [[maybe_unused]] auto& [user, admin, demoMode, sessionFile, parameters, textual] = context;
}

int main() {
  PRINT(sizeof(ZEVO::APIRequest));
  PRINT(sizeof(ZEVO::APIResponse));
  PRINT(sizeof(StringBundle));
  PRINT(sizeof(ZEVO::APIParameter<int>));
  PRINT(ZEVO::PARAM_OPTIONAL);
  PRINT(ZEVO::PARAM_REQUIRED);
  PRINT(kZevoCgiFlagsField);
  PRINT(offsetof(ZEVO::RequestContext, loginUserName));
  PRINT(offsetof(ZEVO::RequestContext, isAdmin));
  PRINT(offsetof(ZEVO::RequestContext, isDemoMode));
  PRINT(offsetof(ZEVO::RequestContext, sessionFilePath));
  PRINT(offsetof(ZEVO::RequestContext, parameters));
  PRINT(offsetof(ZEVO::RequestContext, textual) - sizeof(Json::Value));
  PRINT(sizeof(ZEVO::RequestContext) - sizeof(Json::Value));
}
