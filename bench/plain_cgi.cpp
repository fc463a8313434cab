// What the daemon is measured against: a plain CGI program, a process for each request, that loads
// the module itself and calls the method that the last part of the path names, as the
// administrator. It checks nobody.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <string_view>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/api_table.h"

#include "host/config.h"

namespace {

void print(const char* status, const std::string& body) {
  std::printf("Status: %s\r\nContent-Type: application/json\r\nContent-Length: %zu\r\n\r\n%s",
              status, body.size(), body.c_str());
}

ApiHandler handlerOf(const char* module, std::string_view method) {
  void* library = ::dlopen(module, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  const auto getTable = reinterpret_cast<GetAPITableFunction>(::dlsym(library, kGetAPITableName));
  for (const ApiMethodRow* row = getTable(); row->api != nullptr; ++row) {
    if (method == row->method) return row->handler;
  }
  return nullptr;
}

}  // namespace

int main() {
  std::string error;
  zevo::loadConfig(zevo::kDefaultConfigPath, false, &error);
  const char* target = std::getenv("REQUEST_URI");
  const char* module = std::getenv("BENCH_MODULE");
  if (target == nullptr || module == nullptr) return 1;
  const std::string_view path = target;
  const ApiHandler handler = handlerOf(module, path.substr(path.rfind('/') + 1));
  if (handler == nullptr) {
    print("404 Not Found", "{\"code\":404}\n");
    return 0;
  }
  ZEVO::APIRequest request(
      {"admin", true, false, zevo::config().sessionFile, Json::objectValue, true});
  ZEVO::APIResponse response;
  handler(&request, &response);
  const bool done = response.ErrorCode() == 0;
  print(done ? "200 OK" : "500 Internal Server Error", "{\"data\":" + response.DataText() + "}\n");
  return 0;
}
