// The account rules of a PAM service, from its files.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zevo::access {

// The action of a stack after a module has returned. A number above 0 is a jump over that many
// modules.
enum PamAction : int {
  kPamIgnore = 0,
  kPamOk = -1,
  kPamDone = -2,
  kPamBad = -3,
  kPamDie = -4,
  kPamReset = -5,
};

struct PamControl {
  std::map<std::string, int> actions;  // by the return value's name: "success", "acct_expired"
  int fallback = kPamBad;              // for the others

  [[nodiscard]] int actionOn(const std::string& value) const;
  bool operator==(const PamControl&) const = default;
};

struct PamRule {
  int level = 0;       // the number of substacks around it
  std::string module;  // as written; empty for the start of a substack, which does nothing
  bool hasArguments = false;
  PamControl control;

  bool operator==(const PamRule&) const = default;
};

// A keyword such as "required", or the text in brackets, without them. Nothing if it is neither.
std::optional<PamControl> parsePamControl(std::string_view word);

// The account rules of `service`, with includes expanded. The directories `folders` are searched in
// order, as PAM does; a service without account rules has those of "other". `root` is the prefix of
// absolute paths in the files. Nothing, with the reason in `*cause`, if a file cannot be read or
// parsed.
std::optional<std::vector<PamRule>> readPamRules(const std::vector<std::string>& folders,
                                                 const std::string& root,
                                                 const std::string& service, std::string* cause);

}  // namespace zevo::access
