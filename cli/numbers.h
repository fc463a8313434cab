// Numbers that a person typed.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace cli {

// The number that the whole of `text` is, in the C locale's form; nothing where it is none or is
// out of range. `base` may be that of an integer, 10 without it.
template <typename Number, typename... Base>
std::optional<Number> parseNumber(std::string_view text, Base... base) {
  Number number{};
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), number, base...);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return number;
}

}  // namespace cli
