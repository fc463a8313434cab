// The user ids that accounts may give to their processes besides their own (subuid(5)).
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
  // Those of no file: nothing is allotted.
  SubordinateIds() = default;
  // Reads the file `path` when it is first asked. One that cannot be read allots nothing.
  explicit SubordinateIds(std::string path) : path_(std::move(path)) {}

  // The account to which `uid` is allotted; nothing where it is an account's own, nobody's, or
  // root's, who allots to containers.
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
