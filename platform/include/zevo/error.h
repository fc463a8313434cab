// The last error of the system SDK, per thread.
#pragma once

#include "zevo/export.h"

// Error codes that callers distinguish.
enum ZEVO_ERROR {
  ZEVO_ERR_NONE = 0x0000,
  ZEVO_ERR_OUT_OF_MEMORY = 0x0200,
  ZEVO_ERR_FILE_OPEN = 0x0900,
  ZEVO_ERR_BAD_TEXT = 0x0D00,  // not UTF-8, too long for its destination, or not a record
  ZEVO_ERR_SYSTEM = 0x2A00,    // a system call or a tool failed
  ZEVO_ERR_NO_SUCH_USER = 0x8000,
  ZEVO_ERR_TOO_FEW_ADMINISTRATORS = 0xDC00,
};

extern "C" {

// Records `code` as the last error, with `file` and `line` for debuggers. `file` must remain valid
// (a literal). Every failing platform call does this.
ZEVO_EXPORT void VLIBCErrSetEx(int code, const char* file, int line);

// The code last recorded; ZEVO_ERR_NONE before any.
ZEVO_EXPORT int VLIBCErrGet(void);

}  // extern "C"

#define ZEVO_ERR_SET(code) VLIBCErrSetEx((code), __FILE__, __LINE__)
