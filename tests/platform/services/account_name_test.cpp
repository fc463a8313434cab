#include "services/account_name.h"

#include <gtest/gtest.h>

#include "base/account_name.h"
#include "platform/services/accounts.h"
#include "platform/services/cause.h"

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

TEST(AccountIdTest, AnAccountHasItsId) {
  const auto id = accountId("alice");
  ASSERT_TRUE(id);
  EXPECT_EQ(test::kAlice, *id);
}

TEST(AccountIdTest, ANameThatNoAccountHasHasNone) {
  for (const char* name : {"nobody-here", "", "4000"}) EXPECT_TRUE(isGone(accountId(name))) << name;
  EXPECT_TRUE(isGone(accountId(std::string("alice\0", 6))));
  EXPECT_TRUE(isGone(accountId(std::string(100000, 'a'))));
}

TEST(AccountIdTest, WhereTheNameServiceFailsNothingIsTold) {
  EXPECT_EQ("cannot look up the account \"broken\": Input/output error",
            causeOf(accountId(std::string(test::kBrokenName))));
}

TEST(AccountNameTest, AnIdIsNobodysWhereTheNameServiceSaysSo) {
  EXPECT_TRUE(isNobodys(test::kNoAccount));
  EXPECT_FALSE(isNobodys(test::kAlice));
  EXPECT_FALSE(isNobodys(test::kBrokenAccount));
}

}  // namespace
}  // namespace zevo::connections
