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

// All methods of all loaded modules. Modules remain loaded until the process ends: their globals
// are initialised once, before the first call.
class Modules {
 public:
  // Loads every *.so in the directory `folder`, in the order of their names. Returns false, with
  // the file and the reason in *error, if one cannot be loaded, has no table, offers a method that
  // another one has, or could have been written by anybody but root; also if there is none.
  bool load(const std::filesystem::path& folder, std::string* error);

  // Adds the rows of a table; false with *error if one is already present or incomplete.
  bool add(const ApiMethodRow* table, const std::string& source, std::string* error);

  // Null if the method does not exist.
  [[nodiscard]] ApiHandler find(std::string_view api, std::int64_t version,
                                std::string_view method) const;

 private:
  std::map<std::tuple<std::string, std::int64_t, std::string>, ApiHandler> methods_;
};

}  // namespace calls
