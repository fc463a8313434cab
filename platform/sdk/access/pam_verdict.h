// How PAM's account rules treat an expired account.
#pragma once

#include <string>
#include <vector>

#include "sdk/access/pam_lines.h"

namespace zevo::access {

enum class PamVerdict {
  kRefuses,  // regardless of the results of unknown modules
  kPasses,   // the same
  kUnclear,
};

struct PamAnswer {
  PamVerdict verdict = PamVerdict::kUnclear;
  std::string cause;  // for kUnclear: the deciding module, or what could not be read

  bool operator==(const PamAnswer&) const = default;
};

// For a local account whose shadow entry has expired.
PamAnswer judgeExpired(const std::vector<PamRule>& rules);

// The same, from the files of `service`; `folders` and `root` as in readPamRules.
PamAnswer judgeExpired(const std::vector<std::string>& folders, const std::string& root,
                       const std::string& service);

}  // namespace zevo::access
