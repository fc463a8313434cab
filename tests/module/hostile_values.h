// Values that a hostile client may put anywhere in a request.
#pragma once

#include <vector>

#include <json/value.h>

namespace module_test {

// Every JSON type; numbers at and beyond the edges; texts with NUL, invalid UTF-8, and great
// length.
std::vector<Json::Value> hostileValues();

}  // namespace module_test
