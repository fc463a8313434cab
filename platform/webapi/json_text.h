// Writing JSON.
#pragma once

#include <string>

#include <json/value.h>

namespace ZEVO {

// `value` as compact JSON text in UTF-8, without a line break at its end. Never throws but for want
// of memory and takes no more stack for deeper values: bytes that are no UTF-8 become U+FFFD, a
// number that JSON cannot hold (infinite, not a number) becomes null.
std::string jsonText(const Json::Value& value);

}  // namespace ZEVO
