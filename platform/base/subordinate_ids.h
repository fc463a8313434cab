// The additional user ids assigned to accounts (subuid(5)).
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zevo {

inline constexpr const char* kSubordinateIds = "/etc/subuid";

struct SubordinateRange {
  std::string account;  // its name or number
  std::uint64_t first = 0;
  std::uint64_t count = 0;

  [[nodiscard]] bool holds(uid_t uid) const { return uid >= first && uid - first < count; }
};

// The ranges in the file at `path`; none if it cannot be read. Never asks a name service.
std::vector<SubordinateRange> subordinateRanges(const std::string& path);

}  // namespace zevo
