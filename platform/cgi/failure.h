// Failures of functions on the session file: set the last error and note its cause.
#pragma once

#include <string>

#include "zevo/error_trail.h"

#include "base/file_failure.h"

namespace zevo {

// Notes `cause` under `code`, with the location of the call. Returns -1.
inline int fail(int code, const std::string& cause, const char* file = __builtin_FILE(),
                int line = __builtin_LINE()) {
  noteError(code, cause, file, line);
  return -1;
}

// The same for a file that could not be used. Returns false.
inline bool failAtFile(const FileFailure& failure, const char* file = __builtin_FILE(),
                       int line = __builtin_LINE()) {
  noteError(ZEVO_ERR_FILE_OPEN, failure.text(), file, line);
  return false;
}

}  // namespace zevo
