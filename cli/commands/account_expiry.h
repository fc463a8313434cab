// When accounts expire.
#pragma once

#include <optional>
#include <string>

namespace cli {

// The account's expiry in days since 1970, -1 where it has none; nothing where there is no such
// account in the shadow file, or it cannot be read.
std::optional<long> expiryOf(const std::string& user);

// The expiry that disabling an account sets.
inline constexpr long kDisabledExpiry = 1;

}  // namespace cli
