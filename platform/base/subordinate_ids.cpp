#include "base/subordinate_ids.h"

#include <string_view>

#include "base/numbers.h"
#include "base/read_file.h"
#include "base/text.h"

namespace zevo {
namespace {

constexpr std::size_t kFileLimit = 16UL * 1024 * 1024;  // some 600,000 accounts

}  // namespace

// Lines "ACCOUNT:FIRST:COUNT".
std::vector<SubordinateRange> subordinateRanges(const std::string& path) {
  std::vector<SubordinateRange> ranges;
  std::string text;
  if (readFile(path, kFileLimit, &text)) return ranges;
  for (std::string_view line : linesOf(text)) {
    const std::string_view account = takeUntil(':', line);
    const auto first = parseNumber<std::uint32_t>(takeUntil(':', line));
    const auto count = parseNumber<std::uint32_t>(line);
    if (first && count) ranges.push_back({std::string(account), *first, *count});
  }
  return ranges;
}

}  // namespace zevo
