#include "base/text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zevo {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Character {
  std::size_t length;  // bytes consumed; at least 1, even if ill-formed
  std::uint32_t codePoint;
  bool wellFormed;
};

// First continuation byte allowed after `lead` (Unicode, table 3-7); the later ones are 80..BF.
struct LeadByte {
  std::uint8_t first, last;      // range of leads
  std::uint8_t lowest, highest;  // range of the byte after it
  std::uint8_t length;
};
constexpr std::array<LeadByte, 8> kLeadBytes = {{{0xC2, 0xDF, 0x80, 0xBF, 2},
                                                 {0xE0, 0xE0, 0xA0, 0xBF, 3},
                                                 {0xE1, 0xEC, 0x80, 0xBF, 3},
                                                 {0xED, 0xED, 0x80, 0x9F, 3},
                                                 {0xEE, 0xEF, 0x80, 0xBF, 3},
                                                 {0xF0, 0xF0, 0x90, 0xBF, 4},
                                                 {0xF1, 0xF3, 0x80, 0xBF, 4},
                                                 {0xF4, 0xF4, 0x80, 0x8F, 4}}};

std::uint8_t byteAt(std::string_view text, std::size_t index) {
  return static_cast<std::uint8_t>(text[index]);
}

// The first character of `text`, which is not empty. The length of an ill-formed sequence is that
// of the part that could begin a character.
Character firstCharacter(std::string_view text) {
  const std::uint8_t lead = byteAt(text, 0);
  if (lead < 0x80) return {1, lead, true};
  const auto* row = std::find_if(kLeadBytes.begin(), kLeadBytes.end(), [lead](const LeadByte& r) {
    return lead >= r.first && lead <= r.last;
  });
  if (row == kLeadBytes.end()) return {1, 0, false};
  std::uint32_t codePoint = lead & (0xFFU >> (row->length + 1U));
  for (std::size_t i = 1; i < row->length; ++i) {
    const std::uint8_t lowest = i == 1 ? row->lowest : 0x80;
    const std::uint8_t highest = i == 1 ? row->highest : 0xBF;
    if (i >= text.size()) return {i, 0, false};
    const std::uint8_t next = byteAt(text, i);
    if (next < lowest || next > highest) return {i, 0, false};
    codePoint = (codePoint << 6U) | (next & 0x3FU);
  }
  return {row->length, codePoint, true};
}

bool isShown(std::uint32_t codePoint) {
  if (codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0)) return false;
  const bool separatorOrOverride = codePoint >= 0x2028 && codePoint <= 0x202E;
  const bool isolate = codePoint >= 0x2066 && codePoint <= 0x2069;
  return !separatorOrOverride && !isolate;
}

}  // namespace

std::string_view takeUntil(char mark, std::string_view& rest) {
  const std::string_view part = rest.substr(0, rest.find(mark));
  rest.remove_prefix(std::min(part.size() + 1, rest.size()));
  return part;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) lines.push_back(takeUntil('\n', text));
  return lines;
}

bool validUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    if (!character.wellFormed) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

std::string withoutIllFormed(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const Character character = firstCharacter(bytes);
    text += character.wellFormed ? bytes.substr(0, character.length) : kReplacement;
    bytes.remove_prefix(character.length);
  }
  return text;
}

std::string printable(std::string_view bytes, std::size_t limit) {
  std::string shown;
  shown.reserve(std::min(bytes.size(), limit));
  while (!bytes.empty()) {
    const Character character = firstCharacter(bytes);
    const bool asItIs = character.wellFormed && isShown(character.codePoint);
    const std::string_view piece = asItIs ? bytes.substr(0, character.length) : kReplacement;
    if (shown.size() + piece.size() > limit) break;
    shown += piece;
    bytes.remove_prefix(character.length);
  }
  return shown;
}

}  // namespace zevo
