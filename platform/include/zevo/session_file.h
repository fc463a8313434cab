// The session file, for hosts: it must exist before a call that uses it.
#pragma once

#include <string>

#include "zevo/export.h"

namespace zevo {

// Whether every line of the file at `path` is a login record, so that it may be used as a session
// file: false, with the last error set, if it belongs to another program. True also if there is no
// file, or something that is not a file: creating it then reports the error.
ZEVO_EXPORT bool checkSessionFile(const std::string& path);

}  // namespace zevo

extern "C" {

// Creates an empty session file (mode 0600) at `path`, with its directory (0755) and the directory
// of access times beside it (0700), if they do not exist. Returns 0, also if they all exist; -1
// with the last error set otherwise.
ZEVO_EXPORT int ZEVOCgiSessionFileCreate(const char* path);

}  // extern "C"
