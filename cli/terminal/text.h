// Text of strangers, made fit for a terminal.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// What the reader of the output can show.
enum class Charset {
  kUtf8,
  kAscii,  // a terminal whose locale is not UTF-8
};

// `text` as one line without anything that a terminal obeys: a control or formatting character, a
// byte that is not UTF-8, a line or paragraph separator becomes U+FFFD ("?" in ASCII). In ASCII
// every other character beyond it becomes "?" as well. Of the marks that combine with a character
// four are kept: a pile of them would cover the lines around.
std::string displayText(std::string_view text, Charset charset);

// Columns that `text`, a result of displayText, takes on a terminal.
int displayWidth(std::string_view text);

// `text`, a result of displayText, in at most `width` columns: what does not fit ends in an
// ellipsis, "…" or in ASCII "...". Empty where `width` is below 1.
std::string cutText(std::string_view text, int width, Charset charset);

// `text`, a result of displayText, filled with spaces to `width` columns, on its left or its right.
std::string padText(std::string_view text, int width, bool onLeft);

}  // namespace cli
