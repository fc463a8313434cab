// The entries of accounts in Samba's own database.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/tool_run.h"
#include "sdk/account_lookup.h"

namespace zevo {

// Samba's tool for its accounts, pdbedit, which finds them according to smb.conf.
struct SambaTool {
  std::string path;
  ToolLimits limits;
  std::string configuration = {};  // used instead of the default smb.conf; "": the default
  AccountSource* accounts = &AccountSource::system();
};

struct SambaEntry {
  // As Samba has it: in the case in which it was added, which may not be that of the account's.
  std::string name;
  // Letters of pdbedit's account flags; "D": disabled, so that Samba refuses it.
  std::string flags;

  [[nodiscard]] bool isDisabled() const { return flags.find('D') != std::string::npos; }
};

// By the name of the account.
using SambaEntries = std::map<std::string, SambaEntry>;

// Reads the entries of those accounts of `names` that have one. None if the tool is not installed,
// since then Samba's server is not either. Nothing, with a sentence without a full stop in *cause,
// if the entries cannot be read.
std::optional<SambaEntries> readSambaEntries(const SambaTool& tool,
                                             const std::vector<std::string>& names,
                                             std::string* cause);

// Sets or clears the disabled flag of the entry and keeps all others. False, with *cause as above,
// if that failed or the entry does not show it afterwards.
bool setSambaDisabled(const SambaTool& tool, const SambaEntry& entry, bool isDisabled,
                      std::string* cause);

}  // namespace zevo
