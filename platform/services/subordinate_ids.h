// The accounts behind additional user ids.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "base/subordinate_ids.h"

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
  std::string path_;
  mutable std::optional<std::vector<SubordinateRange>> ranges_;
};

}  // namespace zevo::connections
