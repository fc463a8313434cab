// The API modules that the daemon serves.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

#include "zevo/api_table.h"

namespace calls {

// Every method of every loaded module. Modules stay loaded until the process ends: their start-up
// globals are built once, before the first call.
class Modules {
 public:
  // Loads every *.so of `folder`, in the order of their names. Returns false with *error naming the
  // file and the reason where one cannot be loaded, has no table, offers a method that another one
  // has, or could have been put there by anybody but root; also where there is none.
  bool load(const std::filesystem::path& folder, std::string* error);

  // Adds the rows of a table; false with *error where one is taken or incomplete.
  bool add(const ApiMethodRow* table, const std::string& source, std::string* error);

  // Null where there is no such method.
  [[nodiscard]] ApiHandler find(std::string_view api, std::int64_t version,
                                std::string_view method) const;

 private:
  std::map<std::tuple<std::string, std::int64_t, std::string>, ApiHandler> methods_;
};

}  // namespace calls
