#include "sdk/connections/account_name.h"

#include <gtest/gtest.h>

#include "platform/connections/accounts.h"

namespace zevo::connections {
namespace {

TEST(AccountNameTest, AnAccountIsShownByItsName) {
  EXPECT_EQ("alice", accountName(test::kAlice));
  EXPECT_EQ("root", accountName(0));
}

TEST(AccountNameTest, AnIdThatNoAccountHasIsShownAsItself) {
  EXPECT_EQ("4000", accountName(test::kNoAccount));
}

TEST(AccountNameTest, AnIdIsShownAsItselfWhileTheNameServiceFails) {
  EXPECT_EQ("4001", accountName(test::kBrokenAccount));
}

TEST(AccountNameTest, ALongEntryIsRead) {
  EXPECT_EQ("long", accountName(test::kLongAccount));
}

TEST(AccountNameTest, AnEntryThatNeverFitsIsGivenUp) {
  EXPECT_EQ("4003", accountName(test::kEndlessAccount));
}

}  // namespace
}  // namespace zevo::connections
