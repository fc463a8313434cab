// A host: makes one call of the module and prints its answer. One process, one call: the module
// changes the ids of the whole process, and a crash costs no other call.
//   host MODULE SESSION_FILE admin|user NAME METHOD [JSON]
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <sstream>

#include <json/reader.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/api_table.h"
#include "zevo/session_file.h"

namespace {

int fail(const char* why) {
  std::fprintf(stderr, "host: %s\n", why);
  return 2;
}

ApiHandler handlerOf(void* module, const char* method) {
  const auto getTable = reinterpret_cast<GetAPITableFunction>(dlsym(module, kGetAPITableName));
  const ApiMethodRow* row = getTable != nullptr ? getTable() : nullptr;
  while (row != nullptr && row->api != nullptr && std::strcmp(row->method, method) != 0) ++row;
  return row != nullptr ? row->handler : nullptr;
}

}  // namespace

int main(int count, char** arguments) try {
  if (count < 6) return fail("which MODULE, SESSION_FILE, admin or user, NAME and METHOD?");
  ZEVO::RequestContext context;
  context.sessionFilePath = arguments[2];
  context.isAdmin = std::strcmp(arguments[3], "admin") == 0;
  context.loginUserName = arguments[4];
  if (context.loginUserName.empty()) return fail("without a name the list is everybody's");
  std::istringstream body(count > 6 ? arguments[6] : "{}");
  body >> context.parameters;
  if (!context.parameters.isObject()) return fail("the parameters are no JSON object");
  if (ZEVOCgiSessionFileCreate(arguments[2]) != 0) return fail("there can be no session file");

  void* module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return fail(dlerror());
  const ApiHandler handler = handlerOf(module, arguments[5]);
  if (handler == nullptr) return fail("there is no such method");
  ZEVO::APIRequest request(context);
  ZEVO::APIResponse response;
  handler(&request, &response);
  if (response.IsOutputEnabled())
    std::printf("%d %s\n", response.ErrorCode(), response.DataText().c_str());
  return response.ErrorCode() == 0 ? 0 : 1;
} catch (const std::exception& thrown) {  // malformed JSON, or memory ran out
  return fail(thrown.what());
}
