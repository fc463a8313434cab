// The methods of the built module, found as a host finds them.
#pragma once

#include <cstring>
#include <dlfcn.h>
#include <string_view>

#include "zevo/api_table.h"

namespace module_test {

// The handler of `method`, or null. The module is never unloaded, as hosts keep it.
inline ApiHandler builtHandler(std::string_view method) {
  void* const module = dlopen(CURRENTCONN_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) return nullptr;
  const auto getTable = reinterpret_cast<GetAPITableFunction>(dlsym(module, kGetAPITableName));
  const ApiMethodRow* row = getTable != nullptr ? getTable() : nullptr;
  for (; row != nullptr && row->api != nullptr; ++row) {
    if (row->method == method) return row->handler;
  }
  return nullptr;
}

}  // namespace module_test
