// Text that came from outside.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zevo {

// Whether `text` is well-formed UTF-8: no overlong forms, surrogates or code points above U+10FFFF.
// A NUL is a character like any other.
[[nodiscard]] bool validUtf8(std::string_view text);

// `bytes` with U+FFFD for each ill-formed sequence.
[[nodiscard]] std::string withoutIllFormed(std::string_view bytes);

// `bytes` as text that can be shown: well-formed UTF-8 of at most `limit` bytes, cut between
// characters. U+FFFD stands for each ill-formed sequence, for each control character (C0, DEL, C1,
// line and paragraph separator) and for the characters that change the direction of what follows.
[[nodiscard]] std::string printable(std::string_view bytes, std::size_t limit = 1024);

}  // namespace zevo
