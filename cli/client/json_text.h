// JSON from its text.
#pragma once

#include <optional>
#include <string>

#include <json/value.h>

namespace cli {

// None where `text` is no JSON, or more than that.
std::optional<Json::Value> parseJson(const std::string& text);

// On one line, in ASCII.
std::string compactJson(const Json::Value& value);

}  // namespace cli
