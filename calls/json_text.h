// JSON from its text.
#pragma once

#include <optional>
#include <string>

#include <json/value.h>

namespace calls {

// None where `text` is no JSON, or more than that.
std::optional<Json::Value> parseJson(const std::string& text);

}  // namespace calls
