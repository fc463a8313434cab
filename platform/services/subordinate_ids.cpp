#include "services/subordinate_ids.h"

#include <algorithm>
#include <string_view>

#include "base/numbers.h"
#include "base/read_file.h"
#include "base/text.h"
#include "services/account_name.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kFileLimit = 16UL * 1024 * 1024;  // some 600,000 accounts

std::optional<uid_t> idOf(const std::string& account) {
  if (const auto number = parseNumber<uid_t>(account)) return number;
  const auto id = accountId(account);
  return id ? std::optional<uid_t>(*id) : std::nullopt;
}

}  // namespace

// Lines "ACCOUNT:FIRST:COUNT".
std::vector<SubordinateIds::Range> SubordinateIds::read(const std::string& path) {
  std::vector<Range> ranges;
  std::string text;
  if (readFile(path, kFileLimit, &text)) return ranges;
  for (std::string_view rest = text; !rest.empty();) {
    std::string_view line = takeUntil('\n', rest);
    const std::string_view account = takeUntil(':', line);
    const auto first = parseNumber<std::uint32_t>(takeUntil(':', line));
    const auto count = parseNumber<std::uint32_t>(line);
    if (first && count) ranges.push_back({std::string(account), *first, *count});
  }
  return ranges;
}

std::optional<uid_t> SubordinateIds::ownerOf(uid_t uid) const {
  if (!ranges_) ranges_ = read(path_);
  const auto holds = [uid](const Range& range) {
    return uid >= range.first && uid - range.first < range.count;
  };
  const auto range = std::find_if(ranges_->begin(), ranges_->end(), holds);
  // Accounts of a directory service may have such ids too.
  if (range == ranges_->end() || !isNobodys(uid)) return std::nullopt;
  const auto owner = idOf(range->account);
  return owner && *owner != 0 ? owner : std::nullopt;
}

}  // namespace zevo::connections
