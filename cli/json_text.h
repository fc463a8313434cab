// JSON from its text.
#pragma once

#include <optional>
#include <string>

#include <json/value.h>

namespace cli {

// None where `text` is no JSON.
std::optional<Json::Value> parseJson(const std::string& text);

}  // namespace cli
