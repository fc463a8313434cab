#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/cause.h"
#include "platform/services/print.h"
#include "platform/services/proc_tree.h"
#include "platform/services/utmp_bytes.h"
#include "services/collectors.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using test::kAlice;
using test::kBob;
using test::utmpEntry;

constexpr std::int32_t kTty1 = 4 << 8 | 1;
constexpr std::int32_t kPts3 = 136 << 8 | 3;
constexpr std::int32_t kPts300 = 136 << 8 | 300 % 256 | 1 << 20;

class LoginTest : public ::testing::Test {
 protected:
  std::vector<Connection> read(const std::string& utmp) {
    tree_.file("utmp", utmp);
    const test::FakeSources sources(tree_);
    return test::readAll(readLogins, *sources);
  }
  // The logins that are there although reading them all fails with a cause that holds `part`.
  std::vector<Connection> readBroken(const std::string& part) {
    const test::FakeSources sources(tree_);
    std::vector<Connection> connections;
    EXPECT_THAT(causeOf(readLogins(*sources, connections)), ::testing::HasSubstr(part));
    return connections;
  }
  static Connection login(pid_t pid, const std::string& descr, const std::string& user = "alice") {
    return {pid, test::kEntryText, "", user, descr, ZEVO_CURCONN_LOGIN};
  }

  test::ProcTree tree_;
};

TEST_F(LoginTest, AConsoleLoginHasThePidOfTheShellThatLoginStarted) {
  tree_.add({.pid = 50, .name = "login"})
      .add({.pid = 51, .parent = 50, .name = "bash", .uid = kAlice, .terminal = kTty1});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "alice"})),
              ElementsAre(login(51, "tty1")));
}

TEST_F(LoginTest, AndWhereLoginItselfLeadsTheTerminal) {
  tree_.add({.pid = 50, .name = "login", .terminal = kTty1})
      .add({.pid = 51,
            .parent = 50,
            .name = "bash",
            .uid = kAlice,
            .session = 50,
            .terminal = kTty1});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "alice"})),
              ElementsAre(login(51, "tty1")));
}

TEST_F(LoginTest, ALoginOfRootHasThePidOfItsLeader) {
  tree_.add({.pid = 50, .name = "login"})
      .add({.pid = 51, .parent = 50, .name = "bash", .terminal = kTty1});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "root"})),
              ElementsAre(login(51, "tty1", "root")));
}

TEST_F(LoginTest, WhoTookOnAnotherAccountStaysWhoLoggedIn) {
  tree_.add({.pid = 50, .name = "login"})
      .add({.pid = 51, .parent = 50, .name = "bash", .uid = kAlice, .terminal = kTty1})
      .add({.pid = 52,
            .parent = 51,
            .name = "su",
            .uids = "1001\t0\t0\t0",
            .session = 51,
            .terminal = kTty1})
      .add({.pid = 53, .parent = 52, .name = "bash", .session = 51, .terminal = kTty1});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "alice"})),
              ElementsAre(login(51, "tty1")));
}

TEST_F(LoginTest, ATerminalThatBeganWithAnotherAccountIsWhoseProgramItIs) {
  tree_.add({.pid = 60, .name = "xterm", .uid = kAlice})
      .add({.pid = 61, .parent = 60, .name = "su", .uids = "1001\t0\t0\t0", .terminal = kPts3});
  EXPECT_THAT(read(utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"})),
              ElementsAre(login(61, "pts/3")));
}

TEST_F(LoginTest, WhoTookOverATerminalIsNotWhoEnteredIt) {
  tree_.add({.pid = 60, .name = "python3", .uid = kAlice});
  for (const uid_t other : {uid_t{0}, kBob}) {
    tree_.remove(61);
    tree_.add({.pid = 61, .name = "bash", .uid = other, .terminal = kPts3});
    EXPECT_THAT(read(utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"})),
                ElementsAre(login(60, "pts/3")));
  }
}

TEST_F(LoginTest, NorIsWhoTookOverTheSessionOrThePidOfOneWhoDid) {
  tree_.add({.pid = 50, .name = "cron"})
      .add({.pid = 51, .parent = 50, .name = "backup", .session = 50})
      .add({.pid = 52, .parent = 51, .name = "sleep", .uid = kBob, .session = 50});
  EXPECT_THAT(read(utmpEntry({.pid = 51, .line = "pts/3", .user = "alice", .session = 50})),
              IsEmpty());
}

TEST_F(LoginTest, RootsServerThatWorksForAUserIsNotHis) {
  tree_.add({.pid = 50, .name = "fileserver", .uids = "0\t1001\t0\t1001", .terminal = kPts3});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "pts/3", .user = "alice"})), IsEmpty());
}

TEST_F(LoginTest, PseudoTerminalsOfOthersHideNone) {
  tree_.add({.pid = 40, .name = "bash", .uid = kBob, .terminal = kPts3})
      .add({.pid = 41, .name = "bash", .uid = kAlice, .terminal = kPts3, .namespaces = {7, 8, 9}})
      .add({.pid = 60, .name = "xterm", .uid = kAlice})
      .add({.pid = 61, .parent = 60, .name = "bash", .uid = kAlice, .terminal = kPts3});
  EXPECT_THAT(read(utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"})),
              ElementsAre(login(61, "pts/3")));
}

TEST_F(LoginTest, AnEntryOfAnUnknownAccountIsNobodysLogin) {
  tree_.add({.pid = 50, .name = "login", .terminal = kTty1})
      .add({.pid = 51, .parent = 50, .name = "bash", .uid = 4000, .session = 50});
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "4000"}) +
                   utmpEntry({.pid = 50, .line = "tty1", .user = "carol"})),
              IsEmpty());
}

TEST_F(LoginTest, ANameThatTheFileCutDownIsThatOfItsProcess) {
  tree_.add({.pid = 50, .name = "login"})
      .add({.pid = 51, .parent = 50, .name = "bash", .uid = test::kWordy, .terminal = kTty1});
  const std::string user(test::kWordyName.substr(0, 32));
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = user})),
              ElementsAre(login(51, "tty1", user)));
}

TEST_F(LoginTest, ANameServiceThatFailsIsAFailure) {
  tree_.add({.pid = 50, .name = "login", .terminal = kTty1})
      .add({.pid = 61, .name = "bash", .uid = kAlice, .terminal = kPts3});
  tree_.file("utmp", utmpEntry({.pid = 50, .line = "tty1", .user = "broken"}) +
                         utmpEntry({.pid = 61, .line = "pts/3", .user = "alice"}));
  EXPECT_THAT(readBroken("cannot look up the account"), ElementsAre(login(61, "pts/3")));
}

TEST_F(LoginTest, TerminalsOfOneProgramHaveALeaderEach) {
  tree_.add({.pid = 50, .name = "gnome-session", .uid = kAlice})
      .add({.pid = 60, .parent = 50, .name = "terminal", .uid = kAlice, .session = 50})
      .add({.pid = 61, .parent = 60, .name = "bash", .uid = kAlice, .terminal = kPts3})
      .add({.pid = 62, .parent = 60, .name = "bash", .uid = kAlice, .terminal = kPts300})
      .add({.pid = 63,
            .parent = 62,
            .name = "vi",
            .uid = kAlice,
            .session = 62,
            .terminal = kPts300});
  EXPECT_THAT(read(utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"}) +
                   utmpEntry({.pid = 60, .line = "pts/300", .user = "alice"}) +
                   utmpEntry({.pid = 60, .line = ":0", .user = "alice"})),
              ElementsAre(login(61, "pts/3"), login(62, "pts/300"), login(50, ":0")));
}

TEST_F(LoginTest, TheEntrysOwnSessionServesWhereTheTerminalTellsNothing) {
  tree_.add({.pid = 50, .name = "bash", .uid = kAlice})
      .add({.pid = 51, .parent = 50, .name = "bash", .session = 99});
  EXPECT_THAT(read(utmpEntry({.pid = 51, .line = "hvc0", .user = "alice", .session = 50})),
              ElementsAre(login(50, "hvc0")));
}

TEST_F(LoginTest, TheEntrysProcessServesWhereTheLeaderHasEnded) {
  tree_.add({.pid = 51, .name = "bash", .uid = kAlice, .session = 50});
  EXPECT_THAT(read(utmpEntry({.pid = 51, .line = "tty1", .user = "alice"})),
              ElementsAre(login(51, "tty1")));
}

TEST_F(LoginTest, TerminalsOfNetworkServicesAreLeftOut) {
  tree_.add({.pid = 66, .name = "sshd"})
      .add({.pid = 67, .parent = 66, .name = "sshd-session"})
      .add({.pid = 68, .parent = 66, .name = "bash", .uid = kAlice})
      .add({.pid = 62, .name = "telnetd"})
      .add({.pid = 65, .parent = 62, .name = "login"})
      .add({.pid = 70, .parent = 65, .name = "bash", .uid = kAlice, .session = 65})
      .add({.pid = 71, .parent = 67, .name = "bash", .uid = kAlice})
      .add({.pid = 80, .name = "vsftpd"})
      .add({.pid = 81, .parent = 80, .name = "vsftpd", .uid = kAlice});
  EXPECT_THAT(read(utmpEntry({.pid = 66, .line = "pts/1", .user = "alice", .host = "10.20.0.2"}) +
                   utmpEntry({.pid = 67, .line = "pts/2", .user = "alice"}) +
                   utmpEntry({.pid = 70, .line = "pts/3", .user = "alice", .session = 65}) +
                   utmpEntry({.pid = 80, .line = "vsftpd:80", .user = "alice"})),
              IsEmpty());
}

TEST_F(LoginTest, AUsersProgramUnderAServicesNameHidesNothing) {
  tree_.add({.pid = 90, .name = "sshd", .uid = kAlice})
      .add({.pid = 91, .parent = 90, .name = "bash", .uid = kAlice});
  EXPECT_THAT(read(utmpEntry({.pid = 91, .line = "pts/9", .user = "alice"})),
              ElementsAre(login(91, "pts/9")));
}

TEST_F(LoginTest, StaleEntriesAreLeftOut) {
  tree_.add({.pid = 50, .name = "zombie", .uid = kAlice, .state = 'Z'})
      .add({.pid = 51, .name = "bash", .uid = kAlice, .startTicks = 100ULL * 100000});
  EXPECT_THAT(read(utmpEntry({.pid = 4711, .line = "tty1", .user = "alice"}) +
                   utmpEntry({.pid = 50, .line = "tty2", .user = "alice"}) +
                   utmpEntry({.pid = 51, .line = "tty3", .user = "alice"}) +
                   utmpEntry({.pid = 0, .line = "tty4", .user = "alice"}) +
                   utmpEntry({.pid = -1, .line = "tty5", .user = "alice"}) +
                   utmpEntry({.pid = 1, .line = "tty6", .user = "root"})),
              IsEmpty());
}

TEST_F(LoginTest, AnEntryFromBeforeTheClockWasSetIsNotStale) {
  tree_.add({.pid = 50, .name = "bash", .uid = kAlice});
  Connection expected = login(50, "tty1");
  expected.time = "1970-01-01 00:01:40";
  EXPECT_THAT(read(utmpEntry({.pid = 50, .line = "tty1", .user = "alice", .time = 100})),
              ElementsAre(expected));
}

TEST_F(LoginTest, AnEmptyFileIsNoLogin) {
  EXPECT_THAT(read(""), IsEmpty());
}

TEST_F(LoginTest, WithoutUtmpLogindServes) {
  tree_.add({.pid = 50, .name = "gdm-session-wor"})
      .add({.pid = 51, .parent = 50, .name = "gnome-session", .uid = kAlice})
      .add({.pid = 60, .name = "sshd"})
      .add({.pid = 61, .parent = 60, .name = "bash", .uid = kBob});
  tree_.file("sessions/1",
             "USER=alice\nCLASS=user\nDISPLAY=:0\nLEADER=50\nREALTIME=1763640060000000\n");
  tree_.file("sessions/2",
             "USER=bob\nCLASS=user\nTTY=pts/1\nLEADER=60\nREALTIME=1763640060000000\n");
  const test::FakeSources sources(tree_);
  EXPECT_THAT(test::readAll(readLogins, *sources), ElementsAre(login(51, ":0")));
}

TEST_F(LoginTest, WhatOnlyLogindKnowsIsListedBesideUtmp) {
  tree_.add({.pid = 50, .name = "login"})
      .add({.pid = 51, .parent = 50, .name = "bash", .uid = kAlice, .terminal = kTty1})
      .add({.pid = 60, .name = "xterm", .uid = kAlice})
      .add({.pid = 61, .parent = 60, .name = "bash", .uid = kAlice, .terminal = kPts3});
  tree_.file("sessions/1",
             "USER=alice\nCLASS=user\nTTY=tty1\nLEADER=50\nREALTIME=1763640060000000\n");
  EXPECT_THAT(read(utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"})),
              ElementsAre(login(61, "pts/3"), login(51, "tty1")));
}

TEST_F(LoginTest, ALoginInBothIsOneRow) {
  tree_.add({.pid = 50, .name = "gdm-session-wor"})
      .add({.pid = 51, .parent = 50, .name = "gnome-session", .uid = kAlice})
      .add({.pid = 60, .name = "login"})
      .add({.pid = 61, .parent = 60, .name = "bash", .uid = kAlice, .terminal = kTty1});
  tree_.file("sessions/1",
             "USER=alice\nCLASS=user\nTTY=tty2\nLEADER=50\nREALTIME=1763640060000000\n");
  tree_.file("sessions/2",
             "USER=alice\nCLASS=user\nTTY=tty1\nLEADER=60\nREALTIME=1763640060000000\n");
  EXPECT_THAT(read(utmpEntry({.pid = 51, .line = ":0", .user = "alice"}) +
                   utmpEntry({.pid = 60, .line = "tty1", .user = "alice"})),
              ElementsAre(login(51, ":0"), login(61, "tty1")));
}

TEST_F(LoginTest, AProcessThatCannotBeReadCostsNoOtherItsRow) {
  tree_.add({.pid = 50, .name = "bash", .uid = kAlice, .terminal = kTty1})
      .add({.pid = 60, .name = "sshd", .terminal = kPts3})
      .add({.pid = 70, .name = "bash", .uid = kAlice, .terminal = kPts300});
  tree_.makeUnreadable(60, "status");
  tree_.file("utmp", utmpEntry({.pid = 50, .line = "tty1", .user = "alice"}) +
                         utmpEntry({.pid = 60, .line = "pts/3", .user = "alice"}) +
                         utmpEntry({.pid = 70, .line = "pts/300", .user = "alice"}));
  EXPECT_THAT(readBroken("/proc/60/status"), ElementsAre(login(50, "tty1"), login(70, "pts/300")));
}

// A file of logins that somebody or something broke.
class BrokenUtmpTest : public LoginTest {
 protected:
  void SetUp() override {
    tree_.add({.pid = 50, .name = "bash", .uid = kAlice, .terminal = kTty1});
    tree_.file("utmp", kEntry);
  }
  const std::string kEntry = utmpEntry({.pid = 50, .line = "tty1", .user = "alice"});
  const std::string& utmp_ = tree_.paths().utmp;
};

TEST_F(BrokenUtmpTest, WhatLogindKnowsIsListedAllTheSame) {
  std::filesystem::remove(utmp_);
  std::filesystem::create_directory(utmp_);
  tree_.file("sessions/1",
             "USER=alice\nCLASS=user\nTTY=tty1\nLEADER=50\nREALTIME=1763640060000000\n");
  EXPECT_THAT(readBroken(utmp_), ElementsAre(login(50, "tty1")));
}

TEST_F(BrokenUtmpTest, AFolderIsAFailureThatNamesIt) {
  std::filesystem::remove(utmp_);
  std::filesystem::create_directory(utmp_);
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
}

TEST_F(BrokenUtmpTest, SoAreAHundredMegabytes) {
  std::filesystem::resize_file(utmp_, 100UL * 1000 * 1000);
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
}

TEST_F(BrokenUtmpTest, SoIsAPipe) {
  std::filesystem::remove(utmp_);
  ASSERT_EQ(::mkfifo(utmp_.c_str(), 0600), 0);
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
}

TEST_F(BrokenUtmpTest, SoIsALinkToItself) {
  std::filesystem::remove(utmp_);
  std::filesystem::create_symlink(utmp_, utmp_);
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
}

TEST_F(BrokenUtmpTest, SoIsAFileThatMayNotBeRead) {
  std::filesystem::permissions(utmp_, std::filesystem::perms::none);
  const uid_t before = ::geteuid();
  if (before == 0) {
    // The tree stays readable.
    std::filesystem::permissions(tree_.folder(), std::filesystem::perms{0755});
    ASSERT_EQ(::seteuid(65534), 0);
  }
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
  ASSERT_EQ(::seteuid(before), 0);
}

TEST_F(BrokenUtmpTest, SoIsOneThatFailsToBeReadOnceItIsOpen) {
  std::filesystem::remove(utmp_);
  std::filesystem::create_symlink("/proc/self/mem", utmp_);
  EXPECT_THAT(readBroken(utmp_), IsEmpty());
}

TEST_F(BrokenUtmpTest, ALinkToNothingIsNoFile) {
  std::filesystem::remove(utmp_);
  std::filesystem::create_symlink(tree_.folder() + "/nothing", utmp_);
  tree_.file("sessions/1",
             "USER=alice\nCLASS=user\nTTY=tty1\nLEADER=50\nREALTIME=1763640060000000\n");
  const test::FakeSources sources(tree_);
  EXPECT_THAT(test::readAll(readLogins, *sources), ElementsAre(login(50, "tty1")));
}

TEST_F(BrokenUtmpTest, OneThatEndsInTheMiddleOfAnEntryHasTheLoginsBeforeIt) {
  tree_.file("utmp", kEntry + kEntry.substr(0, 100));
  EXPECT_THAT(readBroken("in the middle of an entry"), ElementsAre(login(50, "tty1")));
}

TEST_F(BrokenUtmpTest, OneThatLostItsBeginningIsAFailureToo) {
  tree_.file("utmp", kEntry.substr(100) + kEntry);
  EXPECT_THAT(readBroken("in the middle of an entry"), IsEmpty());
}

}  // namespace
}  // namespace zevo::connections
