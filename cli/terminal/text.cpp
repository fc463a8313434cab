#include "cli/terminal/text.h"

#include <cstddef>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace cli {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;
constexpr int kMarksKept = 4;

// The character at `*position`, which is advanced; negative for bytes that are not UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t* position) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 character = 0;
  U8_NEXT(bytes, *position, text.size(), character);
  return character;
}

void appendCharacter(UChar32 character, std::string* text) {
  std::uint8_t bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, static_cast<std::uint32_t>(character));
  text->append(reinterpret_cast<const char*>(bytes), length);
}

bool isJoiner(UChar32 character) {
  return character == 0x200C || character == 0x200D;
}

// Whether a terminal or a bidirectional layout would act on the character instead of showing it.
bool isObeyed(UChar32 character) {
  switch (u_charType(character)) {
    case U_CONTROL_CHAR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_SURROGATE:
      return true;
    case U_FORMAT_CHAR:
      return !isJoiner(character);
    default:
      return false;
  }
}

int characterWidth(UChar32 character) {
  const int type = u_charType(character);
  if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || isJoiner(character)) return 0;
  const bool isVowelOrFinalJamo = character >= 0x1160 && character <= 0x11FF;
  if (isVowelOrFinalJamo) return 0;
  const int eastAsian = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return eastAsian == U_EA_WIDE || eastAsian == U_EA_FULLWIDTH ? 2 : 1;
}

std::string_view ellipsis(Charset charset) {
  return charset == Charset::kUtf8 ? "…" : "...";
}

// Length in bytes of the longest beginning of `text` that takes at most `width` columns.
std::size_t fittingLength(std::string_view text, int width) {
  std::size_t position = 0;
  std::size_t fitting = 0;
  int used = 0;
  while (position < text.size()) {
    used += characterWidth(nextCharacter(text, &position));
    if (used > width) break;
    fitting = position;
  }
  return fitting;
}

}  // namespace

std::string displayText(std::string_view text, Charset charset) {
  std::string shown;
  shown.reserve(text.size());
  std::size_t position = 0;
  int marks = 0;
  while (position < text.size()) {
    UChar32 character = nextCharacter(text, &position);
    if (character < 0 || isObeyed(character)) character = kReplacement;
    const bool isMark = characterWidth(character) == 0;
    marks = isMark ? marks + 1 : 0;
    if (marks > kMarksKept || (isMark && charset == Charset::kAscii)) continue;
    if (charset == Charset::kAscii && character > 0x7E) character = '?';
    appendCharacter(character, &shown);
  }
  return shown;
}

std::string shellWord(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-+.,:/@%";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string_view::npos)
    return std::string(text);
  std::string word = "'";
  for (const char c : text) {
    if (c == '\'') {
      word += R"('\'')";
    } else {
      word += c;
    }
  }
  return word + "'";
}

int displayWidth(std::string_view text) {
  std::size_t position = 0;
  int width = 0;
  while (position < text.size()) width += characterWidth(nextCharacter(text, &position));
  return width;
}

std::string cutText(std::string_view text, int width, Charset charset) {
  if (width < 1) return "";
  if (displayWidth(text) <= width) return std::string(text);
  const std::string_view mark = ellipsis(charset);
  const int markWidth = displayWidth(mark);
  if (width <= markWidth) return std::string(mark.substr(0, fittingLength(mark, width)));
  return std::string(text.substr(0, fittingLength(text, width - markWidth))).append(mark);
}

std::string padText(std::string_view text, int width, bool onLeft) {
  const int missing = width - displayWidth(text);
  const std::string spaces(missing > 0 ? static_cast<std::size_t>(missing) : 0, ' ');
  return onLeft ? spaces + std::string(text) : std::string(text) + spaces;
}

}  // namespace cli
