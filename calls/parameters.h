// The parameters of a call, from what the client sent.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <json/value.h>

namespace calls {

// The name-value pairs of a query string, unescaped, as an object of strings. None if an escape is
// invalid, a name occurs twice or is empty, there are more than 64, or a string is not UTF-8 or
// contains NUL.
std::optional<Json::Value> queryParameters(std::string_view query);

// The limit for values in a body, enough to end 10000 connections; each takes some hundred bytes.
inline constexpr std::size_t kMostValues = 65536;

// The JSON object in `body`; an empty body is an empty object. None for anything else: invalid JSON
// or UTF-8, a name twice in one object, nesting deeper than 32, more than kMostValues values.
std::optional<Json::Value> bodyParameters(std::string_view body);

// Whether `contentType` is application/json, with any parameters.
bool isJsonType(std::string_view contentType);

}  // namespace calls
