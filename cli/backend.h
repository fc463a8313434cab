// Where the answers come from.
#pragma once

#include <string>

#include <json/value.h>

#include "answer.h"

namespace cli {

class Backend {
 public:
  Backend() = default;
  virtual ~Backend() = default;
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;

  // Calls `method` with the object `parameters` and waits for its answer.
  virtual Answer call(const std::string& method, const Json::Value& parameters) = 0;
};

}  // namespace cli
