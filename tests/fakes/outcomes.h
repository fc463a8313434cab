// What handlers recorded in their responses.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include <json/value.h>

namespace fakes {

struct Outcome {
  int code;  // 0 for success
  Json::Value data;

  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

}  // namespace fakes
