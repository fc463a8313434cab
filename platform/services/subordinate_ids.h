// The additional user ids assigned to accounts (subuid(5)).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace zevo::connections {

class SubordinateIds {
 public:
  // Without a file: nothing is assigned.
  SubordinateIds() = default;
  // Reads the file `path` at the first use. If it cannot be read, nothing is assigned.
  explicit SubordinateIds(std::string path) : path_(std::move(path)) {}

  // The account to which `uid` is assigned; nothing if it is an account's own id, unassigned, or
  // root's, who assigns it to containers.
  [[nodiscard]] std::optional<uid_t> ownerOf(uid_t uid) const;

 private:
  struct Range {
    std::string account;  // its name or number
    std::uint64_t first = 0;
    std::uint64_t count = 0;
  };
  static std::vector<Range> read(const std::string& path);

  std::string path_;
  mutable std::optional<std::vector<Range>> ranges_;
};

}  // namespace zevo::connections
