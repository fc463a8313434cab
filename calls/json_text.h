// JSON from text and to text.
#pragma once

#include <optional>
#include <string>

#include <json/value.h>

namespace calls {

// None if `text` is not exactly one JSON value.
std::optional<Json::Value> parseJson(const std::string& text);

// On one line, in UTF-8.
std::string compactJson(const Json::Value& value);

// On one line, in printable ASCII; other characters are escaped.
std::string asciiJson(const Json::Value& value);

// The elements of `values` in their order.
template <typename Values>
Json::Value asArray(const Values& values) {
  Json::Value array(Json::arrayValue);
  for (const auto& value : values) array.append(value);
  return array;
}

}  // namespace calls
