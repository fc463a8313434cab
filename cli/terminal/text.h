// Makes untrusted text safe for a terminal, and for the shell on it.
#pragma once

#include <string>
#include <string_view>

namespace cli {

// The characters that the output can show.
enum class Charset {
  kUtf8,
  kAscii,  // a terminal whose locale is not UTF-8
};

// `text` as one line without control sequences: a control or formatting character, an invalid UTF-8
// byte, and a line or paragraph separator become U+FFFD ("?" in ASCII). In ASCII every other
// non-ASCII character becomes "?" too. Four combining marks per character are kept: more of them
// would cover the adjacent lines.
std::string displayText(std::string_view text, Charset charset);

// `text` as one word of a shell command, in quotes where it needs them.
std::string shellWord(std::string_view text);

// The columns that `text`, a result of displayText, needs on a terminal.
int displayWidth(std::string_view text);

// `text`, a result of displayText, in at most `width` columns: longer text is truncated with an
// ellipsis, "…" or "..." in ASCII. Empty if `width` is below 1.
std::string cutText(std::string_view text, int width, Charset charset);

// `text`, a result of displayText, padded with spaces to `width` columns, on the left or the right.
std::string padText(std::string_view text, int width, bool onLeft);

}  // namespace cli
