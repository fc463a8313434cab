// The parameters of a call, from what the client sent.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <json/value.h>

namespace calls {

// The name-value pairs of a query string, unescaped, as an object of strings. None where an escape
// is none, a name stands twice or is empty, there are more than 64, or a text is no UTF-8 or has a
// NUL in it.
std::optional<Json::Value> queryParameters(std::string_view query);

// Values in a body, and in one that ends 10000 connections: each takes some hundred bytes.
inline constexpr std::size_t kMostValues = 65536;

// The JSON object in `body`; an empty body is an empty object. None where it is anything else: no
// JSON, no UTF-8, a name twice in one object, nested deeper than 32, more than kMostValues values.
std::optional<Json::Value> bodyParameters(std::string_view body);

// Whether `contentType` is application/json, whatever its parameters.
bool isJsonType(std::string_view contentType);

}  // namespace calls
