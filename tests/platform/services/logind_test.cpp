#include "services/logind.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

// As release 252 writes them.
std::string sessionFile(const std::string& lines) {
  return "# This is private data. Do not "
         "parse.\nUID=1001\nUSER=alice\nACTIVE=1\nIS_DISPLAY=1\nSTATE=active\n" +
         lines + "LEADER=812\nAUDIT=3\nREALTIME=1763640060250000\nMONOTONIC=60250000\n";
}

TEST(LogindSessionTest, AConsoleLoginHasItsTerminal) {
  EXPECT_THAT(parseLogindSession(sessionFile("TTY=tty1\nTYPE=tty\nCLASS=user\nSERVICE=login\n")),
              Optional(LoginEntry{812, 0, "tty1", "alice", "", 1763640060}));
}

TEST(LogindSessionTest, ADesktopWithoutATerminalHasItsDisplayOrService) {
  EXPECT_EQ(
      parseLogindSession(sessionFile("TYPE=x11\nCLASS=user\nDISPLAY=:0\nSERVICE=gdm\n"))->terminal,
      ":0");
  EXPECT_EQ(parseLogindSession(sessionFile("TYPE=wayland\nCLASS=user\nSERVICE=gdm\n"))->terminal,
            "gdm");
}

TEST(LogindSessionTest, ARemoteLoginHasItsNumericAddress) {
  const std::string lines = "TTY=pts/1\nCLASS=user\nREMOTE=1\nREMOTE_HOST=";
  EXPECT_EQ(parseLogindSession(sessionFile(lines + "::ffff:10.20.0.2\n"))->from, "10.20.0.2");
  EXPECT_EQ(parseLogindSession(sessionFile(lines + "client.example\n"))->from, "");
}

TEST(LogindSessionTest, OtherSessionsAreNoLogins) {
  for (const char* kind : {"greeter", "lock-screen", "background", "background-light", "manager",
                           "manager-early", "", "username"}) {
    EXPECT_EQ(parseLogindSession(sessionFile("CLASS=" + std::string(kind) + "\n")), std::nullopt)
        << kind;
  }
  EXPECT_EQ(parseLogindSession("USER=alice\nCLASS=user\nSTATE=closing\nLEADER=812\n"),
            std::nullopt);
  EXPECT_EQ(parseLogindSession("CLASS=user\nSTATE=active\nLEADER=812\n"), std::nullopt);
  EXPECT_EQ(parseLogindSession(""), std::nullopt);
}

TEST(LogindSessionTest, NumbersThatAreNoneAreZero) {
  EXPECT_THAT(parseLogindSession(
                  "USER=alice\nCLASS=user\nLEADER=x\nREALTIME=99999999999999999999999\nTTY=tty1"),
              Optional(LoginEntry{0, 0, "tty1", "alice", "", 0}));
}

class LogindFolderTest : public ::testing::Test {
 protected:
  std::vector<LoginEntry> read() {
    std::vector<LoginEntry> entries;
    const Result<void> outcome = readLogindSessions(tree_.paths().logindSessions, &entries);
    EXPECT_TRUE(outcome) << causeOf(outcome);
    return entries;
  }

  test::ProcTree tree_;
};

TEST_F(LogindFolderTest, NoFolderIsNoLogin) {
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(LogindFolderTest, HasOneLoginForEachFile) {
  tree_.file("sessions/1", sessionFile("TTY=tty1\nCLASS=user\n"));
  tree_.file("sessions/c2", sessionFile("CLASS=greeter\n"));
  tree_.file("sessions/.#3abc", sessionFile("TTY=tty3\nCLASS=user\n"));
  ASSERT_EQ(::mkfifo((tree_.paths().logindSessions + "/1.ref").c_str(), 0600), 0);
  EXPECT_THAT(read(), ElementsAre(LoginEntry{812, 0, "tty1", "alice", "", 1763640060}));
}

TEST_F(LogindFolderTest, AFileThatCannotBeReadIsAFailureThatNamesIt) {
  tree_.file("sessions/1", std::string(100000, 'x'));
  std::vector<LoginEntry> entries;
  const Result<void> outcome = readLogindSessions(tree_.paths().logindSessions, &entries);
  ASSERT_TRUE(!outcome);
  EXPECT_THAT(causeOf(outcome), ::testing::HasSubstr("/sessions/1"));
}

TEST_F(LogindFolderTest, AFileThatCannotBeReadCostsNoOtherItsLogin) {
  tree_.file("sessions/1", std::string(100000, 'x'));
  tree_.file("sessions/2", sessionFile("TTY=tty1\nCLASS=user\n"));
  tree_.file("sessions/3/is_a_folder", "");
  std::vector<LoginEntry> entries;
  EXPECT_TRUE(hasFailed(readLogindSessions(tree_.paths().logindSessions, &entries)));
  EXPECT_THAT(entries, ElementsAre(LoginEntry{812, 0, "tty1", "alice", "", 1763640060}));
}

}  // namespace
}  // namespace zevo::connections
