// Numbers from text.
#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <system_error>

namespace zevo {

// Whether the whole of `text` is a number in the format of the C locale, stored in `*number`.
// `base` is for integers, by default 10. No plus sign and no space; leading zeros are allowed.
template <typename Number, typename... Base>
bool parseNumber(std::string_view text, Number* number, Base... base) {
  Number parsed{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, parsed, base...);
  if (error != std::errc() || stop != end) return false;
  *number = parsed;
  return true;
}

// The number; nothing if there is none or it is out of range.
template <typename Number, typename... Base>
std::optional<Number> parseNumber(std::string_view text, Base... base) {
  Number number{};
  if (!parseNumber(text, &number, base...)) return {};
  return number;
}

// Removes the integer at the beginning of `text`; nothing, and `text` unchanged, if there is none.
template <typename Number>
std::optional<Number> takeNumber(std::string_view& text) {
  Number number{};
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return {};
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return number;
}

}  // namespace zevo
