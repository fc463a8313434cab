#include "fakes/account_write.h"

#include <cstdlib>
#include <cstring>

#include "fakes/allocation.h"
#include "fakes/platform.h"

struct VLIBCMResult {
  int outcomes;
};

struct VLIBUserShadow {
  long expiryDay;
};

namespace {

fakes::AccountWrite& accountWrite(const char* function) {
  return fakes::Platform::current(function).accountWrite;
}

}  // namespace

extern "C" {

VLIBCMResult* VLIBCMResultAlloc(void) {
  const fakes::AllocationPause pause;
  return accountWrite("VLIBCMResultAlloc").makeResult();
}
void VLIBCMResultFree(VLIBCMResult* result) {
  const fakes::AllocationPause pause;
  accountWrite("VLIBCMResultFree").release(result, "VLIBCMResultFree");
}
VLIBCSzList* VLIBCSzListAlloc(int size) {
  const fakes::AllocationPause pause;
  return accountWrite("VLIBCSzListAlloc").makeList(size);
}
int VLIBCSzListPush(VLIBCSzList** list, const char* text) {
  const fakes::AllocationPause pause;
  return accountWrite("VLIBCSzListPush").push(list, text);
}
void VLIBCSzListFree(VLIBCSzList* list) {
  const fakes::AllocationPause pause;
  accountWrite("VLIBCSzListFree").release(list, "VLIBCSzListFree");
}
int VLIBUserShadowAlloc(VLIBUserShadow** shadow, int count) {
  const fakes::AllocationPause pause;
  return accountWrite("VLIBUserShadowAlloc").makeShadow(shadow, count);
}
void VLIBUserShadowFree(VLIBUserShadow* shadow) {
  const fakes::AllocationPause pause;
  accountWrite("VLIBUserShadowFree").release(shadow, "VLIBUserShadowFree");
}
int VLIBUserShadowExpiryDaySet(VLIBUserShadow* shadow, long days) {
  const fakes::AllocationPause pause;
  return accountWrite("VLIBUserShadowExpiryDaySet").setExpiry(shadow, days);
}
int ZEVOLocalAccountUserSet(char** names, UserRecord** users, VLIBUserShadow** shadows, int count,
                            VLIBCMResult** result) {
  const fakes::AllocationPause pause;
  return accountWrite("ZEVOLocalAccountUserSet").write(names, users, shadows, count, result);
}

}  // extern "C"

namespace fakes {

bool AccountWrite::fails(const std::string& function) {
  const int error = refusals_.errorOfNextCall(function);
  if (error != 0) lastError_.assign(error);
  return error != 0;
}

VLIBCMResult* AccountWrite::makeResult() {
  calls_.record("VLIBCMResultAlloc()");
  if (fails("VLIBCMResultAlloc")) return nullptr;
  return static_cast<VLIBCMResult*>(blocks_.make(sizeof(VLIBCMResult), "result"));
}

VLIBCSzList* AccountWrite::makeList(int size) {
  calls_.record("VLIBCSzListAlloc(" + std::to_string(size) + ")");
  if (fails("VLIBCSzListAlloc")) return nullptr;
  auto* list = static_cast<VLIBCSzList*>(blocks_.make(sizeof(VLIBCSzList), "names"));
  list->size = size;
  return list;
}

// Each push moves the list, its array and its strings into one new block.
int AccountWrite::push(VLIBCSzList** list, const char* text) {
  calls_.record(std::string("VLIBCSzListPush(") + text + ")");
  if (fails("VLIBCSzListPush")) return -1;
  const auto count = static_cast<std::size_t>((*list)->nItem);
  std::size_t size = sizeof(VLIBCSzList) + (count + 1) * sizeof(char*) + std::strlen(text) + 1;
  for (std::size_t i = 0; i < count; ++i) size += std::strlen((*list)->pszItem[i]) + 1;
  auto* moved = static_cast<VLIBCSzList*>(blocks_.make(size, "names"));
  *moved = **list;
  moved->pszItem = static_cast<char**>(static_cast<void*>(moved + 1));
  char* end = static_cast<char*>(static_cast<void*>(moved->pszItem + count + 1));
  for (std::size_t i = 0; i <= count; ++i) {
    const char* item = i < count ? (*list)->pszItem[i] : text;
    moved->pszItem[i] = end;
    end += std::strlen(std::strcpy(end, item)) + 1;
  }
  moved->nItem += 1;
  blocks_.release(*list, "move");
  *list = moved;
  return static_cast<int>(count);
}

int AccountWrite::makeShadow(VLIBUserShadow** shadow, int count) {
  calls_.record("VLIBUserShadowAlloc(" + std::to_string(count) + ")");
  *shadow = nullptr;
  if (fails("VLIBUserShadowAlloc")) return -1;
  *shadow = static_cast<VLIBUserShadow*>(blocks_.make(sizeof(VLIBUserShadow), "shadow"));
  return 0;
}

int AccountWrite::setExpiry(VLIBUserShadow* shadow, long days) {
  calls_.record("VLIBUserShadowExpiryDaySet(" + std::to_string(days) + ")");
  if (fails("VLIBUserShadowExpiryDaySet")) return -1;
  shadow->expiryDay = days;
  return 0;
}

int AccountWrite::write(char** names, UserRecord** users, VLIBUserShadow** shadows, int count,
                        VLIBCMResult** result) {
  std::string call = "ZEVOLocalAccountUserSet(";
  for (int i = 0; i < count; ++i) {
    call += std::string(names[i]) + " uid " + std::to_string(users[i]->uid) + " expires " +
            std::to_string(shadows[i]->expiryDay) + ", ";
  }
  calls_.record(call + std::to_string(count) + ") as " + ids_.text());
  blocks_.release(*result, "move");
  *result = static_cast<VLIBCMResult*>(blocks_.make(sizeof(VLIBCMResult), "result"));
  return fails("ZEVOLocalAccountUserSet") ? -1 : 0;
}

void AccountWrite::release(void* block, const std::string& function) {
  if (block == nullptr) return calls_.record(function + "(null)");
  blocks_.release(block, function);
}

}  // namespace fakes
