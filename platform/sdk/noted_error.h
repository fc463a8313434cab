// Failures of account changes.
#pragma once

#include <string>

#include "zevo/error_trail.h"

#include "base/file_failure.h"

namespace zevo {

// Sets the last error and notes the cause, with the location of the call. Returns `code`.
inline int notedError(int code, const std::string& cause, const char* file = __builtin_FILE(),
                      int line = __builtin_LINE()) {
  noteError(code, cause, file, line);
  return code;
}

// The same for a file that could not be used.
inline int notedError(const FileFailure& failure, const char* file = __builtin_FILE(),
                      int line = __builtin_LINE()) {
  return notedError(ZEVO_ERR_SYSTEM, failure.text(), file, line);
}

}  // namespace zevo
