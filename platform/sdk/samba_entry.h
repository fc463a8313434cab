// The entries of accounts in Samba's own database.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/tool_run.h"

namespace zevo {

// Samba's tool for its accounts, pdbedit, which reaches them wherever smb.conf puts them.
struct SambaTool {
  std::string path;
  ToolLimits limits;
  std::string configuration = {};  // the file instead of the usual smb.conf; "": that one
};

struct SambaEntry {
  std::string name;
  // Letters of pdbedit's account flags; "D": disabled, so Samba lets nobody in with it.
  std::string flags;

  [[nodiscard]] bool isDisabled() const { return flags.find('D') != std::string::npos; }
};

// Reads those of the accounts `names` that have an entry, in that order. None where the tool is not
// there, since then neither is Samba's server. Nothing, with *cause a sentence without a full stop,
// where the entries cannot be read.
std::optional<std::vector<SambaEntry>> readSambaEntries(const SambaTool& tool,
                                                        const std::vector<std::string>& names,
                                                        std::string* cause);

// Sets or takes the disabled flag of the entry, all others left as they are. False with *cause as
// above where that failed, or the entry does not show it afterwards.
bool setSambaDisabled(const SambaTool& tool, const SambaEntry& entry, bool isDisabled,
                      std::string* cause);

}  // namespace zevo
