#include "services/subordinate_ids.h"

#include <algorithm>

#include "base/numbers.h"
#include "services/account_name.h"

namespace zevo::connections {
namespace {

std::optional<uid_t> idOf(const std::string& account) {
  if (const auto number = parseNumber<uid_t>(account)) return number;
  const auto id = accountId(account);
  return id ? std::optional<uid_t>(*id) : std::nullopt;
}

}  // namespace

std::optional<uid_t> SubordinateIds::ownerOf(uid_t uid) const {
  if (!ranges_) ranges_ = subordinateRanges(path_);
  const auto range = std::find_if(ranges_->begin(), ranges_->end(),
                                  [uid](const SubordinateRange& each) { return each.holds(uid); });
  // Accounts of a directory service may have such ids too.
  if (range == ranges_->end() || !isNobodys(uid)) return std::nullopt;
  const auto owner = idOf(range->account);
  return owner && *owner != 0 ? owner : std::nullopt;
}

}  // namespace zevo::connections
