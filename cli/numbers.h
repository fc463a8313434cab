// Numbers that a person typed.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace cli {

// The number that the whole of `text` is, in the C locale's decimal form; nothing where it is none
// or is out of range.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

}  // namespace cli
