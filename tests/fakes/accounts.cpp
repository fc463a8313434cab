#include "fakes/accounts.h"

#include <gtest/gtest.h>

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

int ZEVOUserGet(const char* name, UserRecord** user) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ZEVOUserGet").accounts.get(name, user);
}

void ZEVOUserFree(UserRecord* user) {
  const fakes::AllocationPause pause;
  fakes::Platform::current("ZEVOUserFree").accounts.release(user);
}

}  // extern "C"

namespace fakes {

int Accounts::get(const char* name, UserRecord** user) {
  const std::string call = std::string("ZEVOUserGet(") + name + ")";
  EXPECT_EQ(*user, nullptr) << "the pointer given to " << call;
  const auto known = accounts_.find(name);
  if (known == accounts_.end() && !anyUnknown_) {
    calls_.unscripted(call);
    return -1;
  }
  calls_.record(call);
  if (known == accounts_.end()) return -1;
  if (known->second.withRecord) {
    *user = static_cast<UserRecord*>(blocks_.make(sizeof(UserRecord), name));
    (*user)->uid = known->second.uid;
  }
  return known->second.result;
}

void Accounts::release(UserRecord* user) {
  if (user == nullptr) return calls_.record("ZEVOUserFree(null)");
  blocks_.release(user, "ZEVOUserFree");
}

}  // namespace fakes
