// Its own program, since it replaces the allocation functions.
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error.h"
#include "zevo/local_account.h"

#include "platform/base/failing_allocations.h"
#include "platform/sdk/account_fixture.h"
#include "platform/sdk/samba_tool.h"
#include "sdk/account_change.h"
#include "sdk/account_disabling.h"

namespace zevo {
namespace {

using testing_support::allocationsLeft;

// Lets allocations fail once `limit` more were made after the rename number `last`.
class MemoryEnds : public FileOperations {
 public:
  MemoryEnds(int last, long limit) : left_(last), limit_(limit) {}
  int rename(const char* from, const char* to) override {
    const int result = FileOperations::rename(from, to);
    if (--left_ == 0) allocationsLeft = limit_;
    return result;
  }

 private:
  int left_;
  long limit_;
};

class AccountMemory : public testing_support::AccountFixture {
 protected:
  AccountMemory() { samba_.addEntry("cid", "U"); }

  // Whether disabling cid came to an end.
  bool disable(FileOperations& operations) {
    DisablingTools tools;
    tools.accounts = database_;
    tools.accounts.operations = &operations;
    tools.samba = samba_.tool();
    tools.recordFolder = folder_.file("state");
    const std::set<std::string> names = {"cid"};
    bool isThrown = false;
    try {
      EXPECT_EQ(disableAccounts(tools, names, &stillLetIn_), ZEVO_ERR_NONE);
    } catch (const std::bad_alloc&) {
      isThrown = true;
    }
    allocationsLeft = -1;
    return !isThrown;
  }

  testing_support::SambaToolStandIn samba_;
  std::vector<StillLetIn> stillLetIn_;
};

TEST_F(AccountMemory, ThatEndsBeforeTheShadowFileIsReplacedChangesNoAccount) {
  MemoryEnds operations(1, 0);  // the record is there
  EXPECT_FALSE(disable(operations));
  EXPECT_EQ(shadow(), kShadow);
  EXPECT_EQ(samba_.flagsOf("cid"), "U");
}

TEST_F(AccountMemory, ThatEndsAfterItNamesWhoIsStillLetIn) {
  long limit = 0;
  for (; limit < 1000; limit += 1 + limit / 5) {
    samba_.addEntry("cid", "U");
    folder_.write("shadow", kShadow);
    std::filesystem::remove_all(folder_.file("state"));
    MemoryEnds operations(2, limit);
    ASSERT_TRUE(disable(operations)) << limit;
    EXPECT_NE(shadow(), kShadow);
    if (stillLetIn_.empty()) break;
    EXPECT_EQ(stillLetIn_.at(0).user, "cid");
    EXPECT_THAT(stillLetIn_.at(0).detail,
                testing::StartsWith("Samba still lets \"cid\" in: memory ran out"));
  }
  EXPECT_GT(limit, 1) << "it never ended";
  EXPECT_LT(limit, 1000);
  EXPECT_EQ(samba_.flagsOf("cid"), "UD");
}

TEST(UserSet, WithoutMemoryIsANegativeResult) {
  VLIBUserShadow* shadow = nullptr;
  ASSERT_GE(VLIBUserShadowAlloc(&shadow, 1), 0);
  VLIBCMResult* result = VLIBCMResultAlloc();
  char name[] = "no-such-account";
  char* names[] = {name};
  allocationsLeft = 0;
  const int code = ZEVOLocalAccountUserSet(names, nullptr, &shadow, 1, &result);
  allocationsLeft = -1;
  EXPECT_LT(code, 0);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_OUT_OF_MEMORY);
  VLIBCMResultFree(result);
  VLIBUserShadowFree(shadow);
}

}  // namespace
}  // namespace zevo
