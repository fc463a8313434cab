// Prints what the built module's method "download" prints. Standard input: a JSON array of
// connections, objects of time, from, user, descr and the number of a type.
#include <cstdio>
#include <iostream>

#include <json/reader.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"

#include "module/built_module.h"
#include "module/registry_stand_in.h"

int main() {
  Json::Value elements;
  std::cin >> elements;
  std::vector<module_test::Connected> connections;
  for (const Json::Value& element : elements) {
    connections.push_back({element["time"].asString(), element["from"].asString(),
                           element["user"].asString(), element["descr"].asString(),
                           element["type"].asInt()});
  }
  module_test::setConnected(std::move(connections));
  const ApiHandler download = module_test::builtHandler("download");
  if (download == nullptr) return 1;
  ZEVO::RequestContext context;
  context.loginUserName = "boss";
  context.isAdmin = true;
  context.sessionFilePath = "/nonexistent/sessions";
  ZEVO::APIRequest request(context);
  ZEVO::APIResponse response;
  download(&request, &response);
  return std::fflush(stdout) == 0 && !response.HasOutcome() ? 0 : 1;
}
