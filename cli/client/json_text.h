// JSON from its text, and as text.
#pragma once

#include <string>

#include <json/value.h>

#include "calls/json_text.h"

namespace cli {

using calls::parseJson;

// On one line, in ASCII.
std::string compactJson(const Json::Value& value);

}  // namespace cli
