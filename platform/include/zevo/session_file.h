// The session file, for hosts: it must exist before a call that names it runs.
#pragma once

#include <string>

#include "zevo/export.h"

namespace zevo {

// Whether every line of the file at `path` is the record of a login, so that it may be used as a
// session file: false with the last error set where it is another program's. True also where there
// is no file, or nothing that is one: making it tells what is wrong.
ZEVO_EXPORT bool checkSessionFile(const std::string& path);

}  // namespace zevo

extern "C" {

// Creates an empty session file (mode 0600) at `path`, with its folder (0755), the folder of access
// times beside it (0700) where they are missing. Returns 0, also when all is there already; -1 with
// the last error set otherwise.
ZEVO_EXPORT int ZEVOCgiSessionFileCreate(const char* path);

}  // extern "C"
