// What PAM's account rules do with an expired account.
#pragma once

#include <string>
#include <vector>

#include "sdk/access/pam_lines.h"

namespace zevo::access {

enum class PamVerdict {
  kRefuses,  // whatever the modules that we do not know return
  kPasses,   // the same
  kUnclear,
};

struct PamAnswer {
  PamVerdict verdict = PamVerdict::kUnclear;
  std::string cause;  // of kUnclear: the module that decides, or what could not be read

  bool operator==(const PamAnswer&) const = default;
};

// Of a local account whose shadow entry has expired.
PamAnswer judgeExpired(const std::vector<PamRule>& rules);

// The same, from the files of `service`; `folders` and `root` as in readPamRules.
PamAnswer judgeExpired(const std::vector<std::string>& folders, const std::string& root,
                       const std::string& service);

}  // namespace zevo::access
