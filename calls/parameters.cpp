#include "calls/parameters.h"

#include <algorithm>
#include <string>
#include <utility>

#include "base/json.h"
#include "base/numbers.h"
#include "base/text.h"

namespace calls {
namespace {

constexpr Json::ArrayIndex kMostParameters = 64;

// The byte of an escape's two digits; none if they are not hexadecimal digits.
std::optional<char> escapedByte(std::string_view digits) {
  unsigned char byte = 0;
  if (digits.size() != 2 || !zevo::parseNumber(digits, &byte, 16)) return std::nullopt;
  return static_cast<char>(byte);
}

std::optional<std::string> unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      plain += text[i] == '+' ? ' ' : text[i];
      continue;
    }
    const auto byte = escapedByte(text.substr(i + 1, 2));
    if (!byte) return std::nullopt;
    plain += *byte;
    i += 2;
  }
  const bool isText = zevo::validUtf8(plain) && plain.find('\0') == std::string::npos;
  return isText ? std::optional(plain) : std::nullopt;
}

// An upper bound of the number of values in the JSON text: each except the first follows a comma,
// or is the first one in a bracket. None if it has a comment: that is not JSON, but the reader
// accepts it, and a quote in it would hide what follows.
std::optional<std::size_t> mostValuesIn(std::string_view text) {
  std::size_t values = 1;
  bool isInside = false;  // of a text
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char letter = text[i];
    if (letter == '\\' && isInside) ++i;
    if (letter == '"') isInside = !isInside;
    if (letter == '/' && !isInside) return std::nullopt;
    if (!isInside && (letter == ',' || letter == '[' || letter == '{')) ++values;
  }
  return values;
}

bool addPair(std::string_view pair, Json::Value& parameters) {
  const std::size_t equals = std::min(pair.find('='), pair.size());
  const auto name = unescaped(pair.substr(0, equals));
  const auto value = unescaped(pair.substr(std::min(equals + 1, pair.size())));
  if (!name || !value || name->empty() || parameters.isMember(*name)) return false;
  parameters[*name] = *value;
  return parameters.size() <= kMostParameters;
}

}  // namespace

std::optional<Json::Value> queryParameters(std::string_view query) {
  Json::Value parameters(Json::objectValue);
  while (!query.empty()) {
    const std::string_view pair = zevo::takeUntil('&', query);
    if (!pair.empty() && !addPair(pair, parameters)) return std::nullopt;
  }
  return parameters;
}

std::optional<Json::Value> bodyParameters(std::string_view body) {
  if (body.empty()) return Json::Value(Json::objectValue);
  const auto values = mostValuesIn(body);
  if (!zevo::validUtf8(body) || !values || *values > kMostValues) return std::nullopt;
  auto parameters = zevo::parseJson(body);
  return parameters && parameters->isObject() ? std::move(parameters) : std::nullopt;
}

bool isJsonType(std::string_view contentType) {
  std::string_view type = contentType.substr(0, contentType.find(';'));
  while (type.ends_with(' ')) type.remove_suffix(1);
  std::string lower(type);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower == "application/json";
}

}  // namespace calls
