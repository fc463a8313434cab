// Changes to local accounts, and the lists and results that they are made of.
#pragma once

#include <string>

#include "zevo/local_account.h"
#include "zevo/string_list.h"

#include "fakes/blocks.h"
#include "fakes/ids.h"
#include "fakes/last_error.h"
#include "fakes/refusals.h"

namespace fakes {

// Lists and results move wherever their interface allows it. What is handed out must be released
// once.
class AccountWrite {
 public:
  AccountWrite(Calls& calls, Ids& ids, Blocks& blocks, Refusals& refusals, LastError& lastError)
      : calls_(calls), ids_(ids), blocks_(blocks), refusals_(refusals), lastError_(lastError) {}

  VLIBCMResult* makeResult();
  VLIBCSzList* makeList(int size);
  int push(VLIBCSzList** list, const char* text);
  int makeShadow(VLIBUserShadow** shadow, int count);
  int setExpiry(VLIBUserShadow* shadow, long days);
  int write(char** names, UserRecord** users, VLIBUserShadow** shadows, int count,
            VLIBCMResult** result);
  void release(void* block, const std::string& function);

 private:
  // Whether the call fails; then the last error is set.
  bool fails(const std::string& function);

  Calls& calls_;
  Ids& ids_;
  Blocks& blocks_;
  Refusals& refusals_;
  LastError& lastError_;
};

}  // namespace fakes
