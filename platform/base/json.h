// JSON from text and to text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <json/value.h>

namespace zevo {

enum class RepeatedNames { kRefused, kLastCounts };  // in one object

// The value that the whole of `text` is, by the letter of JSON and with at most 32 levels; nothing,
// with the reason in *problem if that is given, if it is none. Only exhaustion of memory throws.
std::optional<Json::Value> parseJson(std::string_view text,
                                     RepeatedNames repeated = RepeatedNames::kRefused,
                                     std::string* problem = nullptr);

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

}  // namespace zevo
