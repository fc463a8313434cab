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

  // For who makes calls in other processes: `answer`, of status kFailed, is what such a call came
  // to instead of an answer. Leaves a trace of calls that change something.
  virtual void noteUnanswered(const std::string& method, const Json::Value& parameters,
                              const Answer& answer) = 0;
};

}  // namespace cli
