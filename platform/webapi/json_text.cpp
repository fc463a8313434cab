#include "webapi/json_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"

namespace ZEVO {
namespace {

template <typename Number>
void writeNumber(Number number, std::string& out) {
  std::array<char, 32> digits{};  // the longest double takes 24
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  out.append(digits.data(), result.ptr);
}

void writeReal(double number, std::string& out) {
  if (!std::isfinite(number)) {
    out += "null";
    return;
  }
  const std::size_t begin = out.size();
  writeNumber(number, out);
  // Keeps a real number real for readers that distinguish them.
  if (out.find_first_of(".e", begin) == std::string::npos) out += ".0";
}

// The number of bytes at the start of `text` that need no escape in a JSON string.
std::size_t plainLength(std::string_view text) {
  const auto stop = std::find_if(text.begin(), text.end(), [](char c) {
    return static_cast<std::uint8_t>(c) < 0x20 || c == '"' || c == '\\';
  });
  return static_cast<std::size_t>(stop - text.begin());
}

void writeEscape(char c, std::string& out) {
  static constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
  static constexpr std::string_view kLetters = "\"\\bfnrt";
  static constexpr std::string_view kHex = "0123456789abcdef";
  out += '\\';
  if (const std::size_t index = kShort.find(c); index != std::string_view::npos) {
    out += kLetters[index];
    return;
  }
  const auto byte = static_cast<std::uint8_t>(c);
  out += "u00";
  out += kHex[byte >> 4U];
  out += kHex[byte & 0xFU];
}

void writeUtf8(std::string_view text, std::string& out) {
  out += '"';
  for (;;) {
    const std::size_t plain = plainLength(text);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    writeEscape(text.front(), out);
    text.remove_prefix(1);
  }
  out += '"';
}

// Whether no byte of `text` needs an escape.
bool isPlainAscii(std::string_view text) {
  bool other = false;
  for (const char c : text) {
    const auto byte = static_cast<std::uint8_t>(c);
    other |= static_cast<std::uint8_t>(byte - 0x20) >= 0x60;
    other |= byte == '"';
    other |= byte == '\\';
  }
  return !other;
}

void writeString(std::string_view text, std::string& out) {
  if (isPlainAscii(text)) {
    out.append(1, '"').append(text).append(1, '"');
  } else if (zevo::validUtf8(text)) {
    writeUtf8(text, out);
  } else {
    writeUtf8(zevo::withoutIllFormed(text), out);
  }
}

void writeStringValue(const Json::Value& value, std::string& out) {
  const char* begin = nullptr;
  const char* end = nullptr;
  value.getString(&begin, &end);  // false for a value created from a null pointer: the empty string
  writeString(begin == nullptr ? std::string_view() : std::string_view(begin, end), out);
}

// A value that is not an array or object.
void writeLeaf(const Json::Value& value, std::string& out) {
  switch (value.type()) {
    case Json::intValue:
      return writeNumber(value.asLargestInt(), out);
    case Json::uintValue:
      return writeNumber(value.asLargestUInt(), out);
    case Json::realValue:
      return writeReal(value.asDouble(), out);
    case Json::stringValue:
      return writeStringValue(value, out);
    case Json::booleanValue:
      out += value.asBool() ? "true" : "false";
      return;
    default:
      out += "null";
  }
}

// An array or object being written.
struct Open {
  Json::Value::const_iterator next, end;
  bool isObject;
  bool isFirst = true;
};

}  // namespace

std::string jsonText(const Json::Value& value) {
  std::string out;
  std::vector<Open> open;
  const auto write = [&](const Json::Value& written) {
    if (!written.isArray() && !written.isObject()) return writeLeaf(written, out);
    out += written.isObject() ? '{' : '[';
    open.push_back({written.begin(), written.end(), written.isObject()});
  };
  write(value);
  while (!open.empty()) {
    Open& top = open.back();
    if (top.next == top.end) {
      out += top.isObject ? '}' : ']';
      open.pop_back();
      continue;
    }
    if (!std::exchange(top.isFirst, false)) out += ',';
    if (top.isObject) {
      const char* nameEnd = nullptr;
      const char* name = top.next.memberName(&nameEnd);
      writeString(std::string_view(name, nameEnd), out);
      out += ':';
    }
    write(*top.next++);
  }
  return out;
}

}  // namespace ZEVO
