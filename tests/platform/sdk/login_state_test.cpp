#include "sdk/login_state.h"

#include <gtest/gtest.h>

#include "platform/sdk/account_fixture.h"

namespace zevo {
namespace {

constexpr long kToday = 20000;

// One account, "ann", that may log in unless a test spoils it.
class StateOfLogin : public testing::Test {
 protected:
  StateOfLogin() {
    source_.accounts = {{"ann", "x", "/bin/bash", 1001, 1001}};
    source_.shadows["ann"] = {"$y$ann", ""};
  }
  LoginState state() { return loginStateOf(source_, shells_, "ann", kToday); }

  testing_support::TemporaryFolder folder_;
  testing_support::ListedAccounts source_;
  std::string shells_ = folder_.write("shells", "/bin/sh\n/bin/bash\n/usr/sbin/nologin\n");
};

TEST_F(StateOfLogin, IsThatOfTheShadowEntry) {
  EXPECT_FALSE(state().isExpired);
  EXPECT_FALSE(state().isLocked);
  EXPECT_TRUE(state().hasLoginShell);
  EXPECT_EQ(state().passwordField, "$y$ann");
}

TEST_F(StateOfLogin, IsLockedWithoutAPasswordThatWouldDo) {
  for (const char* password : {"!", "!!", "!$y$ann", "*", "!*"}) {
    source_.shadows["ann"].password = password;
    EXPECT_TRUE(state().isLocked) << password;
  }
  source_.shadows["ann"].password = "";
  EXPECT_FALSE(state().isLocked) << "no password is asked for: that is PAM's to refuse";
}

TEST_F(StateOfLogin, IsExpiredFromItsDayOn) {
  source_.shadows["ann"].expiryDay = "20000";
  EXPECT_TRUE(state().isExpired);
  source_.shadows["ann"].expiryDay = "20001";
  EXPECT_FALSE(state().isExpired);
}

TEST_F(StateOfLogin, NeedsAShellOfTheList) {
  for (const char* shell : {"/usr/sbin/nologin", "/bin/false", "/opt/unlisted"}) {
    source_.accounts[0].shell = shell;
    EXPECT_FALSE(state().hasLoginShell) << shell;
  }
  shells_ = folder_.file("missing");
  EXPECT_TRUE(state().hasLoginShell) << "a system without a list takes any shell";
}

TEST_F(StateOfLogin, OfADirectorysAccountIsWhatItShows) {
  source_.shadows.clear();
  EXPECT_TRUE(state().isLocked) << "the entry that \"x\" refers to is missing";
  source_.accounts[0].password = "!";
  EXPECT_TRUE(state().isLocked);
  source_.accounts[0].password = "*";
  EXPECT_FALSE(state().isLocked) << "the directory keeps the password to itself";
  EXPECT_EQ(state().passwordField, "*");
}

TEST_F(StateOfLogin, ThatCannotBeReadCountsAgainstTheAccount) {
  source_.failingAccounts = {"ann"};
  EXPECT_TRUE(state().isExpired);
  source_.failingAccounts.clear();
  source_.shadowError = EIO;
  EXPECT_TRUE(state().isExpired);
  source_.shadowError = 0;
  shells_ = folder_.path();
  EXPECT_TRUE(state().isExpired);
  source_.accounts.clear();
  EXPECT_TRUE(state().isExpired);
}

}  // namespace
}  // namespace zevo
