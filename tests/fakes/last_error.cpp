#include "fakes/last_error.h"

#include "zevo/error.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

void VLIBCErrSetEx(int code, const char* /*file*/, int /*line*/) {
  const fakes::AllocationPause pause;
  fakes::Platform::current("VLIBCErrSetEx").lastError.set(code);
}

int VLIBCErrGet(void) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("VLIBCErrGet").lastError.get();
}

}  // extern "C"

namespace fakes {

void LastError::set(int code) {
  calls_.record("VLIBCErrSetEx(" + std::to_string(code) + ")");
  code_ = code;
}

int LastError::get() {
  calls_.record("VLIBCErrGet()");
  return code_;
}

}  // namespace fakes
