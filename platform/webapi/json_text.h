// Writing JSON.
#pragma once

#include <string>

#include <json/value.h>

namespace ZEVO {

// `value` as compact JSON text in UTF-8, without a line break at its end. Throws only if memory
// runs out, and uses no more stack for deeper values: invalid UTF-8 becomes U+FFFD, a number that
// JSON cannot represent (infinite, not a number) becomes null.
std::string jsonText(const Json::Value& value);

}  // namespace ZEVO
