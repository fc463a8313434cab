// The session file, for hosts: it must exist before a call that names it runs.
#pragma once

#include "zevo/export.h"

extern "C" {

// Creates an empty session file (mode 0600) at `path`, with its folder (0755), the folder of access
// times beside it (0700) where they are missing. Returns 0, also when all is there already; -1 with
// the last error set otherwise.
ZEVO_EXPORT int ZEVOCgiSessionFileCreate(const char* path);

}  // extern "C"
