#include "services/telnet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/service_fixture.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kBob;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::int32_t kPts1 = 34817;
constexpr uid_t kTelnetdUser = 110;  // netkit's

class TelnetTest : public test::ServiceFixture {
 protected:
  void SetUp() override {
    add({.pid = 59, .name = "inetd"});
    addServer("telnetd", 0);
    connect(900, "10.20.0.4", 23);
  }
  void addServer(const std::string& name, uid_t uid) {
    add({.pid = 64, .parent = 59, .name = name, .uid = uid, .sockets = {{0, 900}, {1, 900}}});
  }
  void addBelow(pid_t pid, pid_t parent, const std::string& name, uid_t uid) {
    add({.pid = pid, .parent = parent, .name = name, .uid = uid, .terminal = kPts1});
  }
  static Connection telnet(const std::string& user, const std::string& descr = "pts/1") {
    return {64, test::kStartText, "10.20.0.4", user, descr, ZEVO_CURCONN_TELNET};
  }
};

TEST_F(TelnetTest, ASessionIsTheUsersWhoseShellRunsBelowLogin) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "bash", kBob);
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob")));
}

TEST_F(TelnetTest, AnIdThatIsAllottedToAnAccountIsThatAccounts) {
  tree_.file("subuid",
             "carol:90000:10000\nroot:100000:1\nbroken\nalice:100001:x\nbob:100001:9\n"
             "1001:100010:10\nalice:1002:1");
  addBelow(65, 64, "login", 0);
  const auto userOf = [this](uid_t uid) {
    tree_.remove(70);
    addBelow(70, 65, "bash", uid);
    const auto connections = read(readTelnet);
    return connections.size() == 1 ? connections.front().user : "";
  };
  EXPECT_EQ(userOf(100000), "100000") << "root's, for a container";
  EXPECT_EQ(userOf(100001), "bob");
  EXPECT_EQ(userOf(100009), "bob");
  EXPECT_EQ(userOf(100010), "alice");
  EXPECT_EQ(userOf(100019), "alice");
  EXPECT_EQ(userOf(100020), "100020") << "nobody's";
  EXPECT_EQ(userOf(95000), "95000") << "of an account that is not there any longer";
  EXPECT_EQ(userOf(kBob), "bob") << "an account's own";
}

TEST_F(TelnetTest, LoginsInProgressAreNoConnections) {
  EXPECT_THAT(read(readTelnet), IsEmpty());
  addBelow(65, 64, "login", 0);
  EXPECT_THAT(read(readTelnet), IsEmpty());
}

TEST_F(TelnetTest, LoginMayBecomeTheUsersShell) {
  addBelow(65, 64, "bash", kBob);
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob")));
}

TEST_F(TelnetTest, RootMayLogIn) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "bash", 0);
  tree_.write(64, "loginuid", "4294967295");
  tree_.write(70, "loginuid", "0");
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("root")));
}

TEST_F(TelnetTest, WhoBecomesRootIsStillTheUserWhoLoggedIn) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "sudo", 0);
  tree_.write(64, "loginuid", "4294967295");
  tree_.write(70, "loginuid", "1002");
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob")));
}

TEST_F(TelnetTest, TheAccountThatStartedTheServerIsNobodysLogin) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "bash", 0);
  tree_.write(64, "loginuid", "1001");
  tree_.write(70, "loginuid", "1001");
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("root")));
}

TEST_F(TelnetTest, AUsersProgramNamedLoginHidesNothing) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "login", kBob);
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob")));
}

TEST_F(TelnetTest, TheFirstProcessTellsTheUserAlsoWhereHeBecameAnother) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "bash", kBob);
  addBelow(75, 70, "su", 0);
  addBelow(76, 75, "bash", kAlice);
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob")));
}

TEST_F(TelnetTest, NetkitsServerIsNoRootProcess) {
  tree_.remove(64);
  addServer("in.telnetd", kTelnetdUser);
  addBelow(65, 64, "telnetlogin", kTelnetdUser);
  EXPECT_THAT(read(readTelnet), IsEmpty());
  addBelow(66, 65, "login", 0);
  EXPECT_THAT(read(readTelnet), IsEmpty());
  addBelow(70, 66, "bash", kAlice);
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("alice")));
}

TEST_F(TelnetTest, AProcessWithoutATerminalHasNone) {
  addBelow(65, 64, "login", 0);
  add({.pid = 70, .parent = 65, .name = "bash", .uid = kBob});
  EXPECT_THAT(read(readTelnet), ElementsAre(telnet("bob", "")));
}

TEST_F(TelnetTest, AUsersOwnServerIsNone) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  add({.pid = 21, .parent = 20, .name = "telnetd", .uid = kAlice, .sockets = {{0, 900}}});
  addBelow(22, 21, "bash", kAlice);
  tree_.remove(64);
  EXPECT_THAT(read(readTelnet), IsEmpty());
}

TEST_F(TelnetTest, AnUnreadableProcessBelowIsAFailureThatNamesTheRemedy) {
  addBelow(65, 64, "login", 0);
  tree_.makeUnreadable(65, "status");
  EXPECT_THAT(failureOf(readTelnet), HasSubstr("run this as root"));
}

TEST_F(TelnetTest, ASessionThatEndsAfterTheScanIsNone) {
  addBelow(65, 64, "login", 0);
  addBelow(70, 65, "bash", kBob);
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(70);
  EXPECT_THAT(test::readAll(readTelnet, *sources), IsEmpty());
}

TEST_F(TelnetTest, ACircleOfParentsEnds) {
  addBelow(65, 64, "login", 0);
  tree_.remove(64);
  add({.pid = 64, .parent = 65, .name = "telnetd", .sockets = {{0, 900}}});
  EXPECT_THAT(read(readTelnet), IsEmpty());
}

TEST(PseudoTerminalTest, IsNamedByItsNumber) {
  EXPECT_EQ("pts/0", pseudoTerminalName(136 << 8));
  EXPECT_EQ("pts/1", pseudoTerminalName(kPts1));
  EXPECT_EQ("pts/255", pseudoTerminalName(136 << 8 | 255));
  EXPECT_EQ("pts/256", pseudoTerminalName(136 << 8 | 1 << 20));
  EXPECT_EQ("pts/258", pseudoTerminalName(137 << 8 | 2));
}

TEST(PseudoTerminalTest, OtherDevicesAreNone) {
  for (const std::int32_t device : {0, -1, 4 << 8 | 1, 135 << 8, 144 << 8}) {
    EXPECT_EQ("", pseudoTerminalName(device)) << device;
  }
}

}  // namespace
}  // namespace zevo::connections
