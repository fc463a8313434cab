#include "sdk/account_change.h"

#include <memory>
#include <new>

#include "zevo/error_trail.h"

namespace {

template <typename T>
T* makeOrFail() {
  try {
    return std::make_unique<T>().release();
  } catch (const std::bad_alloc&) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
    return nullptr;
  }
}

}  // namespace

extern "C" {

VLIBCMResult* VLIBCMResultAlloc() {
  return makeOrFail<VLIBCMResult>();
}

void VLIBCMResultFree(VLIBCMResult* result) {
  const std::unique_ptr<VLIBCMResult> owned(result);
}

int VLIBUserShadowAlloc(VLIBUserShadow** shadow, int count) {
  *shadow = nullptr;
  if (count != 1) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, "only one shadow change can be made at a time");
    return -1;
  }
  *shadow = makeOrFail<VLIBUserShadow>();
  return *shadow != nullptr ? 0 : -1;
}

void VLIBUserShadowFree(VLIBUserShadow* shadow) {
  const std::unique_ptr<VLIBUserShadow> owned(shadow);
}

int VLIBUserShadowExpiryDaySet(VLIBUserShadow* shadow, long days) {
  if (shadow == nullptr || days < 0) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, "an expiry day must be 0 or greater");
    return -1;
  }
  shadow->expiryDay = days;
  return 0;
}

}  // extern "C"
