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
// control characters; a folder that is looked at counts as a file. Processes without any are not
// there.
using OpenFiles = std::map<pid_t, std::set<std::string>>;

// What Samba's own tool tells of all processes at this moment: dear on a busy server, so it is
// asked only for a person who is about to end an SMB session. Waits for the tool up to the
// configuration's limit. Nothing, with *cause a sentence, where the tool gives no answer.
ZEVO_EXPORT std::optional<OpenFiles> openFiles(std::string* cause);

}  // namespace zevo
