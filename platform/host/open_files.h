// The files that SMB sessions hold open, for hosts.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>

#include "zevo/export.h"

namespace zevo {

// Paths of the open files of each of Samba's processes, each path once, as valid UTF-8 without
// control characters; an open directory counts as a file. Processes without open files are left
// out.
using OpenFiles = std::map<pid_t, std::set<std::string>>;

// What Samba's own tool currently reports for all processes. This is expensive on a busy server, so
// it is used only when somebody is about to end an SMB session. Waits for the tool up to the
// configured limit. Nothing, with a sentence in *cause, if the tool fails.
ZEVO_EXPORT std::optional<OpenFiles> openFiles(std::string* cause);

}  // namespace zevo
