#include "zevo/error.h"

namespace {

struct LastError {
  int code = ZEVO_ERR_NONE;
  const char* file = "";
  int line = 0;
};

thread_local LastError lastError;

}  // namespace

extern "C" {

void VLIBCErrSetEx(int code, const char* file, int line) {
  lastError = {code, file, line};
}

int VLIBCErrGet() {
  return lastError.code;
}

}  // extern "C"
