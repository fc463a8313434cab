#include "enforce/disable_accounts.h"

#include "fakes/array_allocation.h"
#include "module/support.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class DisableAccounts : public module_test::ModuleTest {
 protected:
  DisableAccounts() {
    platform.accounts.add("alice", 1001);
    platform.accounts.add("bob", 1002);
  }

  // Whether anything was written.
  bool wrote() { return !platform.calls.of({"ZEVOLocalAccountUserSet"}).empty(); }
};

TEST_F(DisableAccounts, SucceedsForNobodyWithoutTouchingThePlatform) {
  EXPECT_TRUE(DisableUserAccounts({}));
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(DisableAccounts, WritesAllNamesInOneCall) {
  EXPECT_TRUE(DisableUserAccounts({"alice", "bob"}));
  EXPECT_THAT(
      platform.calls.of({"VLIBCMResultAlloc", "VLIBCSzListAlloc", "VLIBCSzListPush", "ZEVOUserGet",
                         "VLIBUserShadowAlloc", "VLIBUserShadowExpiryDaySet",
                         "ZEVOLocalAccountUserSet"}),
      ElementsAre("VLIBCMResultAlloc()", "VLIBCSzListAlloc(512)", "VLIBCSzListPush(alice)",
                  "ZEVOUserGet(alice)", "VLIBUserShadowAlloc(1)", "VLIBUserShadowExpiryDaySet(1)",
                  "VLIBCSzListPush(bob)", "ZEVOUserGet(bob)", "VLIBUserShadowAlloc(1)",
                  "VLIBUserShadowExpiryDaySet(1)",
                  "ZEVOLocalAccountUserSet(alice uid 1001 expires 1, bob uid 1002 expires 1, 2) "
                  "as 0:0"));
}

TEST_F(DisableAccounts, WritesAsRoot) {
  platform.ids.become(1000, 100);
  EXPECT_TRUE(DisableUserAccounts({"alice"}));
  EXPECT_THAT(
      platform.calls.of({"setresgid", "setresuid", "ZEVOUserGet", "ZEVOLocalAccountUserSet",
                         "VLIBUserShadowExpiryDaySet"}),
      ElementsAre("ZEVOUserGet(alice)", "VLIBUserShadowExpiryDaySet(1)", "setresgid(-1, 0, -1)",
                  "setresuid(-1, 0, -1)",
                  "ZEVOLocalAccountUserSet(alice uid 1001 expires 1, 1) as 0:0",
                  "setresuid(-1, 0, -1)", "setresgid(-1, 100, -1)", "setresuid(-1, 1000, -1)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 3U);
}

TEST_F(DisableAccounts, GivesEverythingBackOnce) {
  EXPECT_TRUE(DisableUserAccounts({"alice", "bob"}));
  EXPECT_THAT(platform.calls.of({"VLIBCSzListFree"}), ElementsAre("VLIBCSzListFree(names)"));
  EXPECT_THAT(platform.calls.of({"VLIBCMResultFree"}), ElementsAre("VLIBCMResultFree(result)"));
  EXPECT_EQ(platform.calls.of({"VLIBUserShadowFree"}).size(), 2U);
  EXPECT_THAT(platform.calls.of({"ZEVOUserFree"}),
              ElementsAre("ZEVOUserFree(alice)", "ZEVOUserFree(bob)"));
}

TEST_F(DisableAccounts, WritesADuplicateTwice) {
  EXPECT_TRUE(DisableUserAccounts({"alice", "alice"}));
  EXPECT_THAT(platform.calls.of({"ZEVOLocalAccountUserSet"}),
              ElementsAre("ZEVOLocalAccountUserSet(alice uid 1001 expires 1, alice uid 1001 "
                          "expires 1, 2) as 0:0"));
}

TEST_F(DisableAccounts, WritesNothingWhereANameIsUnknown) {
  platform.accounts.addUnknown("ghost");
  EXPECT_FALSE(DisableUserAccounts({"alice", "ghost", "bob"}));
  EXPECT_FALSE(wrote());
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx"}), IsEmpty());
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}),
              ElementsAre("ZEVOUserGet(alice)", "ZEVOUserGet(ghost)"));
}

TEST_F(DisableAccounts, SetsTheErrorWhereANameHasNoRecord) {
  platform.accounts.addWithoutRecord("ghost");
  EXPECT_FALSE(DisableUserAccounts({"alice", "ghost"}));
  EXPECT_FALSE(wrote());
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx"}), ElementsAre("VLIBCErrSetEx(32768)"));
}

TEST_F(DisableAccounts, GivesBackTheRecordOfAFailedLookUp) {
  platform.accounts.addUnknownWithRecord("ghost", 5);
  EXPECT_FALSE(DisableUserAccounts({"ghost"}));
  EXPECT_FALSE(wrote());
  EXPECT_THAT(platform.calls.of({"ZEVOUserFree"}), ElementsAre("ZEVOUserFree(ghost)"));
}

TEST_F(DisableAccounts, TakesANameWithANulForUnknown) {
  EXPECT_FALSE(DisableUserAccounts({std::string("alice\0x", 7)}));
  EXPECT_FALSE(wrote());
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx", "ZEVOUserGet"}),
              ElementsAre("VLIBCErrSetEx(32768)"));
}

// Each call of the platform that can fail: its name, and which of its calls for two accounts.
class DisableAccountsRefusal : public DisableAccounts,
                               public ::testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(DisableAccountsRefusal, WritesNothingAndKeepsThePlatformsError) {
  const auto& [function, nth] = GetParam();
  platform.refusals.refuse(function, nth, 4711);
  EXPECT_FALSE(DisableUserAccounts({"alice", "bob"}));
  EXPECT_FALSE(wrote());
  EXPECT_EQ(platform.lastError.code(), 4711);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, DisableAccountsRefusal,
    ::testing::Values(std::pair{"VLIBCMResultAlloc", 1}, std::pair{"VLIBCSzListAlloc", 1},
                      std::pair{"VLIBCSzListPush", 1}, std::pair{"VLIBCSzListPush", 2},
                      std::pair{"VLIBUserShadowAlloc", 1}, std::pair{"VLIBUserShadowAlloc", 2},
                      std::pair{"VLIBUserShadowExpiryDaySet", 1},
                      std::pair{"VLIBUserShadowExpiryDaySet", 2}));

TEST_F(DisableAccounts, FailsWhereTheWriteIsRefusedAndKeepsThePlatformsError) {
  platform.refusals.refuse("ZEVOLocalAccountUserSet", 1, 0xDC00);
  EXPECT_FALSE(DisableUserAccounts({"alice"}));
  EXPECT_EQ(platform.lastError.code(), 0xDC00);
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx", "VLIBCErrGet"}), IsEmpty());
}

TEST_F(DisableAccounts, FailsWhereAnArrayCannotBeAllocated) {
  for (int nth = 1; nth <= 3; ++nth) {
    const fakes::ArrayFailure failure(nth);
    EXPECT_FALSE(DisableUserAccounts({"alice"})) << nth;
  }
  EXPECT_FALSE(wrote());
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx", "VLIBCSzListPush"}),
              ElementsAre("VLIBCErrSetEx(512)", "VLIBCErrSetEx(512)", "VLIBCErrSetEx(512)"));
}

TEST_F(DisableAccounts, AllocatesThreeArrays) {
  const fakes::ArrayFailure failure(4);
  EXPECT_TRUE(DisableUserAccounts({"alice"}));
}

}  // namespace
