// Text from outside.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zevo {

// Removes the text before the first `mark`, and the mark, from `rest`; all of it where there is
// none.
std::string_view takeUntil(char mark, std::string_view& rest);

// The lines of `text`, without their line feeds.
std::vector<std::string_view> linesOf(std::string_view text);

// Whether `text` is well-formed UTF-8: no overlong forms, surrogates or code points above U+10FFFF.
// NUL is allowed.
[[nodiscard]] bool validUtf8(std::string_view text);

// `bytes` with U+FFFD for each ill-formed sequence.
[[nodiscard]] std::string withoutIllFormed(std::string_view bytes);

// `bytes` as printable text: well-formed UTF-8 of at most `limit` bytes, truncated between
// characters. U+FFFD replaces each ill-formed sequence, each control character (C0, DEL, C1, line
// and paragraph separator) and characters that change the text direction.
[[nodiscard]] std::string printable(std::string_view bytes, std::size_t limit = 1024);

}  // namespace zevo
