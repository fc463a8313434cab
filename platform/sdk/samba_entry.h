// The entries of accounts in Samba's own database.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/tool_run.h"

namespace zevo {

// Samba's tool for its accounts, pdbedit, which finds them according to smb.conf.
struct SambaTool {
  std::string path;
  ToolLimits limits;
  std::string configuration = {};  // used instead of the default smb.conf; "": the default
};

struct SambaEntry {
  std::string name;
  // Letters of pdbedit's account flags; "D": disabled, so that Samba refuses it.
  std::string flags;

  [[nodiscard]] bool isDisabled() const { return flags.find('D') != std::string::npos; }
};

// Reads the entries of those of `names` that have one, in that order. None if the tool is not
// installed, since then Samba's server is not either. Nothing, with a sentence without a full stop
// in *cause, if the entries cannot be read.
std::optional<std::vector<SambaEntry>> readSambaEntries(const SambaTool& tool,
                                                        const std::vector<std::string>& names,
                                                        std::string* cause);

// Sets or clears the disabled flag of the entry and keeps all others. False, with *cause as above,
// if that failed or the entry does not show it afterwards.
bool setSambaDisabled(const SambaTool& tool, const SambaEntry& entry, bool isDisabled,
                      std::string* cause);

}  // namespace zevo
