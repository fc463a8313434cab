#include "zevo/local_account.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error.h"

#include "sdk/account_change.h"

namespace {

using testing::ElementsAre;

TEST(ShadowChange, HoldsTheDayOfExpiry) {
  VLIBUserShadow* shadow = nullptr;
  ASSERT_GE(VLIBUserShadowAlloc(&shadow, 1), 0);
  EXPECT_EQ(shadow->expiryDay, std::nullopt);
  EXPECT_GE(VLIBUserShadowExpiryDaySet(shadow, 1), 0);
  EXPECT_EQ(shadow->expiryDay, 1);
  VLIBUserShadowFree(shadow);
  VLIBUserShadowFree(nullptr);
}

TEST(ShadowChange, RefusesWhatMeansNothing) {
  VLIBUserShadow* shadow = nullptr;
  EXPECT_LT(VLIBUserShadowAlloc(&shadow, 2), 0);
  EXPECT_EQ(shadow, nullptr);
  EXPECT_LT(VLIBUserShadowExpiryDaySet(nullptr, 1), 0);
  ASSERT_GE(VLIBUserShadowAlloc(&shadow, 1), 0);
  EXPECT_LT(VLIBUserShadowExpiryDaySet(shadow, -1), 0);
  EXPECT_EQ(shadow->expiryDay, std::nullopt);
  VLIBUserShadowFree(shadow);
}

// Calls that must end before the files of this server are touched.
class UserSet : public testing::Test {
 protected:
  UserSet() : result_(VLIBCMResultAlloc()) { VLIBUserShadowAlloc(&shadow_, 1); }
  ~UserSet() override {
    VLIBUserShadowFree(shadow_);
    VLIBCMResultFree(result_);
    VLIBCMResultFree(nullptr);
  }

  char name_[16] = "admin";
  char* names_[2] = {name_, nullptr};
  UserRecord root_ = {0, 0, "root", "/root", "/bin/sh"};
  UserRecord* users_[2] = {&root_, nullptr};
  VLIBUserShadow* shadow_ = nullptr;
  VLIBUserShadow* shadows_[2] = {shadow_, nullptr};
  VLIBCMResult* result_;
};

TEST_F(UserSet, SucceedsForAnEmptyBatch) {
  EXPECT_EQ(ZEVOLocalAccountUserSet(names_, users_, shadows_, 0, &result_), 0);
  EXPECT_THAT(result_->codes, ElementsAre());
}

TEST_F(UserSet, RefusesRootUnderWhateverName) {
  shadows_[0] = shadow_;
  EXPECT_LT(ZEVOLocalAccountUserSet(names_, users_, shadows_, 1, &result_), 0);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  EXPECT_THAT(result_->codes, ElementsAre(ZEVO_ERR_TOO_FEW_ADMINISTRATORS));
}

TEST_F(UserSet, RefusesABatchWithoutANameOrAChange) {
  users_[0] = nullptr;
  shadows_[0] = nullptr;
  EXPECT_LT(ZEVOLocalAccountUserSet(names_, users_, shadows_, 1, nullptr), 0);
  names_[0] = nullptr;
  shadows_[0] = shadow_;
  EXPECT_LT(ZEVOLocalAccountUserSet(names_, users_, shadows_, 1, nullptr), 0);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_NO_SUCH_USER);
  EXPECT_LT(ZEVOLocalAccountUserSet(nullptr, users_, shadows_, 1, nullptr), 0);
}

}  // namespace
