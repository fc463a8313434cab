// The account rules of a PAM service, as its files give them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zevo::access {

// What a stack does after a module has returned. A number above 0 is a jump over that many modules.
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
  int fallback = kPamBad;              // of the others

  [[nodiscard]] int actionOn(const std::string& value) const;
  bool operator==(const PamControl&) const = default;
};

struct PamRule {
  int level = 0;       // how many substacks it stands in
  std::string module;  // as written; empty for a substack's beginning, which does nothing
  bool hasArguments = false;
  PamControl control;

  bool operator==(const PamRule&) const = default;
};

// "required" and the like, or what stands in brackets, without them. Nothing where it is neither.
std::optional<PamControl> parsePamControl(std::string_view word);

// The account rules of `service`, includes put in their places. `folders` are searched in order, as
// PAM does; a service without account rules has those of "other". `root` goes before absolute paths
// in the files. Nothing, with `*cause` saying why, where a file cannot be read or understood.
std::optional<std::vector<PamRule>> readPamRules(const std::vector<std::string>& folders,
                                                 const std::string& root,
                                                 const std::string& service, std::string* cause);

}  // namespace zevo::access
