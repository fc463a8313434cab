#include "calls/identity.h"

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calls/fake_accounts.h"
#include "host/login_token.h"

namespace calls {
namespace {

using namespace testing_support;

const std::string kLoginToken(43, 'T');

class WebIdentity : public testing::Test {
 protected:
  WebIdentity() {
    accounts_.add({"alice", 1000, false, false});
    accounts_.add({"bob", 1001, false, true});
    accounts_.add({"root", 0, false, true});
    logins_.add(kLoginToken, "alice", 1000);
    request_.remoteAddress = "10.20.0.2";
    request_.cookie = "currentconn=" + kLoginToken;
  }
  Identity ask() { return whoAsksOverWeb(request_, accounts_, logins_); }

  FakeAccounts accounts_;
  FakeLogins logins_;
  HttpRequest request_;
};

TEST_F(WebIdentity, IsTheCookiesLoginAlsoFromAnotherAddress) {
  const Identity expected =
      Caller{"alice", false, SocketKind::kWeb, kLoginAddress, zevo::tokenHash(kLoginToken)};
  EXPECT_EQ(ask(), expected);
}

TEST_F(WebIdentity, IsAnAdministratorAsAMemberOfTheGroup) {
  logins_.add(kLoginToken, "bob", 1001);
  EXPECT_TRUE(std::get<Caller>(ask()).isAdmin);
}

TEST_F(WebIdentity, OfRootIsAdmin) {
  logins_.add(kLoginToken, "admin", 0);
  EXPECT_EQ(std::get<Caller>(ask()).user, "admin");
  EXPECT_TRUE(std::get<Caller>(ask()).isAdmin);
}

TEST_F(WebIdentity, KeepsTheLoginCurrentUnlessThePageRefreshesItself) {
  ask();
  EXPECT_EQ(logins_.touched, std::vector<std::string>{zevo::tokenHash(kLoginToken)});
  request_.background = true;
  ask();
  EXPECT_EQ(logins_.touched.size(), 1U);
}

TEST_F(WebIdentity, IsNobodyWithoutACurrentLogin) {
  const Identity nobody = Problem::kNotLoggedIn;
  request_.cookie.reset();
  EXPECT_EQ(ask(), nobody) << "no cookie";
  request_.cookie = "currentconn=" + std::string(43, 'x');
  EXPECT_EQ(ask(), nobody) << "a token of no login";
  request_.cookie = "currentconn=" + zevo::tokenHash(kLoginToken);
  EXPECT_EQ(ask(), nobody) << "the id that the session file shows";
  request_.cookie = "currentconn=" + kLoginToken;
  logins_.all.clear();
  EXPECT_EQ(ask(), nobody) << "a login that has ended";
  EXPECT_TRUE(logins_.touched.empty());
}

TEST_F(WebIdentity, IsNobodyWhereTheAccountIsNotTheOneThatLoggedIn) {
  const Identity nobody = Problem::kNotLoggedIn;
  accounts_.add({"alice", 1000, true, false});
  EXPECT_EQ(ask(), nobody) << "expired";
  accounts_.add({.name = "alice", .uid = 1000, .isLocked = true});
  EXPECT_EQ(ask(), nobody) << "locked";
  accounts_.add({.name = "alice", .uid = 1000, .hasLoginShell = false});
  EXPECT_EQ(ask(), nobody) << "without a login shell";
  accounts_.add({.name = "alice", .uid = 1000, .passwordMark = "of another password"});
  EXPECT_EQ(ask(), nobody) << "with another password";
  accounts_.add({"alice", 1005, false, true});
  EXPECT_EQ(ask(), nobody) << "made anew under another number";
  accounts_.remove("alice");
  EXPECT_EQ(ask(), nobody) << "deleted";
  logins_.add(kLoginToken, "", 1000);
  EXPECT_EQ(ask(), nobody) << "a login without a name";
  EXPECT_TRUE(logins_.touched.empty());
}

TEST_F(WebIdentity, IsNobodyWithoutThePasswordsMark) {
  logins_.all.begin()->second.passwordMark.clear();
  EXPECT_EQ(ask(), Identity(Problem::kNotLoggedIn));
}

TEST_F(WebIdentity, OfAViewLoginSaysUntilWhen) {
  logins_.all.begin()->second.viewUntil = 1795210000;
  EXPECT_EQ(std::get<Caller>(ask()).viewUntil, 1795210000);
}

TEST_F(WebIdentity, OfRootNeedsNeitherPasswordNorShell) {
  logins_.add(kLoginToken, "admin", 0);
  accounts_.add({.name = "root",
                 .uid = 0,
                 .isAdministrator = true,
                 .isLocked = true,
                 .hasLoginShell = false});
  EXPECT_EQ(std::get<Caller>(ask()).user, "admin");
  accounts_.add({.name = "root", .uid = 0, .isExpired = true});
  EXPECT_EQ(ask(), Identity(Problem::kNotLoggedIn));
}

TEST_F(WebIdentity, IsNotKnownWhereTheLoginsCannotBeRead) {
  logins_.isBroken = true;
  EXPECT_EQ(ask(), Identity(Problem::kWorkFailed));
}

TEST_F(WebIdentity, OfRootEndsWhereAnAccountTakesItsAlias) {
  logins_.add(kLoginToken, "admin", 0);
  accounts_.add({"admin", 1002, false, false});
  EXPECT_EQ(ask(), Identity(Problem::kNotLoggedIn));
}

TEST_F(WebIdentity, NeedsAClientsAddress) {
  request_.remoteAddress.reset();
  EXPECT_EQ(ask(), Identity(Problem::kMalformed));
}

class LocalIdentity : public testing::Test {
 protected:
  LocalIdentity() {
    accounts_.add({"alice", 1000, false, false});
    accounts_.add({"bob", 1001, false, true});
    accounts_.add({"root", 0, false, true});
  }
  Identity ask(uid_t peer) { return whoAsksLocally(request_, peer, accounts_); }

  FakeAccounts accounts_;
  HttpRequest request_;
};

TEST_F(LocalIdentity, IsTheAccountOfTheProcess) {
  EXPECT_EQ(ask(1000), Identity(Caller{"alice", false, SocketKind::kLocal, "", ""}));
}

TEST_F(LocalIdentity, IsAnAdministratorAsRootAlone) {
  EXPECT_EQ(ask(1001), Identity(Caller{"bob", false, SocketKind::kLocal, "", ""}));
  EXPECT_EQ(ask(0), Identity(Caller{"admin", true, SocketKind::kLocal, "", ""}));
}

TEST_F(LocalIdentity, IsNobodyWithoutAnAccount) {
  EXPECT_EQ(ask(4711), Identity(Problem::kNobody));
  EXPECT_EQ(ask(static_cast<uid_t>(-1)), Identity(Problem::kNobody));
}

TEST_F(LocalIdentity, OfAnExpiredAccountIsNobody) {
  accounts_.add({"alice", 1000, true, false});
  EXPECT_EQ(ask(1000), Identity(Problem::kNobody));
}

TEST_F(LocalIdentity, MayBeALockedAccountsWhoseProcessesRun) {
  accounts_.add({.name = "alice", .uid = 1000, .isLocked = true, .hasLoginShell = false});
  EXPECT_EQ(ask(1000), Identity(Caller{"alice", false, SocketKind::kLocal, "", ""}));
}

TEST_F(LocalIdentity, HasWhatRootSaysOfWhoBecameRoot) {
  request_.rootsWord = {.asUser = "", .sudoUser = "bob", .terminal = "pts/3"};
  Caller expected{"admin", true, SocketKind::kLocal, "", ""};
  expected.sudoUser = "bob";
  expected.terminal = "pts/3";
  EXPECT_EQ(ask(0), Identity(expected));
  EXPECT_EQ(ask(1000), Identity(Problem::kMalformed));
}

TEST_F(LocalIdentity, OfRootMayBeAnotherUserWithoutAdministratorRights) {
  request_.rootsWord.asUser = "whoever";
  EXPECT_EQ(ask(0), Identity(Caller{"whoever", false, SocketKind::kLocal, "", ""}));
  EXPECT_EQ(ask(1000), Identity(Problem::kMalformed));
}

TEST_F(LocalIdentity, IsNobodyForWhatComesFromAWebServer) {
  request_.cookie = "currentconn=" + kLoginToken;
  EXPECT_EQ(ask(0), Identity(Problem::kNobody));
  request_.cookie = "";
  EXPECT_EQ(ask(0), Identity(Problem::kNobody));
  request_.cookie.reset();
  request_.remoteAddress = "127.0.0.1";
  EXPECT_EQ(ask(0), Identity(Problem::kNobody));
}

}  // namespace
}  // namespace calls
