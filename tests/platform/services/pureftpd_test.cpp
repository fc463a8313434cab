#include "services/pureftpd.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/service_fixture.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr pid_t kPureFtpd = 84;

Result<void> readWithLimits(const Sources& sources, std::vector<Connection>& connections) {
  return readPureFtpd(sources, {.time = std::chrono::minutes(2)}, connections);
}

Result<void> readImpatiently(const Sources& sources, std::vector<Connection>& connections) {
  return readPureFtpd(sources, {.time = std::chrono::milliseconds(300)}, connections);
}

class PureFtpdTest : public test::ServiceFixture {
 protected:
  void SetUp() override {
    addProcess(kPureFtpd, 1, "pure-ftpd (SERVER)", 0, {{3, 43127}});
    connect(900, "10.20.0.2", 21);
  }
  void addProcess(pid_t pid, pid_t parent, const std::string& text, uid_t uid,
                  const std::vector<std::pair<int, std::uint64_t>>& sockets,
                  const std::string& name = "pure-ftpd") {
    add({.pid = pid,
         .parent = parent,
         .name = name,
         .cmdline = title(text),
         .uid = uid,
         .session = kPureFtpd,
         .cwd = uid == 0 ? "/" : "/home/alice/My Files (x)",
         .sockets = sockets});
  }
  // A session and root's helper below it, both of which hold the listening socket too.
  void addSession(pid_t pid, uid_t uid) {
    addProcess(pid, kPureFtpd, "pure-ftpd (IDLE)", uid, {{3, 43127}, {4, 900}});
    addProcess(pid + 1, pid, "pure-ftpd (PRIV)", 0, {{3, 43127}, {4, 900}});
  }
  // The tool, as a script.
  void addTool(const std::string& body) {
    const std::string path = tree_.file("pure-ftpwho", "#!/bin/sh\n" + body);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
  static Connection ftp(pid_t pid, const std::string& user,
                        const std::string& descr = "/home/alice/My Files (x)") {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_FTP};
  }
};

TEST_F(PureFtpdTest, TheListenerAloneIsNoConnection) {
  EXPECT_THAT(read(readWithLimits), IsEmpty());
}

TEST_F(PureFtpdTest, ASessionAndItsHelperAreOneRecordOfTheSessionsProcess) {
  addSession(105, kAlice);
  EXPECT_THAT(read(readWithLimits), ElementsAre(ftp(105, "alice")));
}

TEST_F(PureFtpdTest, TheServersForDatabasesAreTheSame) {
  addProcess(105, kPureFtpd, "pure-ftpd (IDLE)", kAlice, {{4, 900}}, "pure-ftpd-mysql");
  EXPECT_THAT(read(readWithLimits), ElementsAre(ftp(105, "alice")));
}

TEST_F(PureFtpdTest, ALoginInProgressIsNoConnection) {
  addSession(85, 0);
  EXPECT_THAT(read(readWithLimits), IsEmpty());
}

TEST_F(PureFtpdTest, AVirtualUserIsShownByHisOwnName) {
  addTool("[ \"$*\" = -s ] && echo '105|vera|5|IDLE||10.20.0.2|10.20.0.2|21|0|0|0|0'\n");
  addSession(105, kAlice);
  EXPECT_THAT(read(readWithLimits), ElementsAre(ftp(105, "vera")));
}

TEST_F(PureFtpdTest, ALoginThatTheToolKnowsToBeInProgressIsNoConnection) {
  addTool("echo '85|?|5|IDLE||10.20.0.2|10.20.0.2|21|0|0|0|0'\n");
  addSession(85, 0);
  EXPECT_THAT(read(readWithLimits), IsEmpty());
}

TEST_F(PureFtpdTest, ALoginThatTheToolHasNotSeenYetIsTheAccounts) {
  addTool("echo '105|?|5|IDLE||10.20.0.2|10.20.0.2|21|0|0|0|0'\n");
  addSession(105, kAlice);
  EXPECT_THAT(read(readWithLimits), ElementsAre(ftp(105, "alice")));
}

TEST_F(PureFtpdTest, RootMayLogInWhereTheToolTellsIt) {
  addTool("echo '105|root|5|IDLE||10.20.0.2|10.20.0.2|21|0|0|0|0'\n");
  addSession(105, 0);
  EXPECT_THAT(read(readWithLimits), ElementsAre(ftp(105, "root", "/")));
}

TEST_F(PureFtpdTest, TheToolIsNotStartedWhereNobodyIsConnected) {
  addTool("touch '" + tree_.folder() + "/started'\n");
  EXPECT_THAT(read(readWithLimits), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(tree_.folder() + "/started"));
}

TEST_F(PureFtpdTest, WhereTheToolFailsTheAccountsAreShownAndTheLogSaysSo) {
  addTool("echo '105|vera|5|IDLE'; exit 3\n");
  addSession(105, kAlice);
  const test::FakeSources sources(tree_, sockets_);
  EXPECT_THAT(test::readAll(readWithLimits, *sources), ElementsAre(ftp(105, "alice")));
  EXPECT_THAT(sources.log(), ElementsAre(HasSubstr("Pure-FTPd: ")));
  EXPECT_THAT(sources.log(), ElementsAre(HasSubstr("ended with status 3")));
}

TEST_F(PureFtpdTest, AToolThatHangsIsGivenUp) {
  addTool("sleep 1000\n");
  addSession(105, kAlice);
  const test::FakeSources sources(tree_, sockets_);
  EXPECT_THAT(test::readAll(readImpatiently, *sources), ElementsAre(ftp(105, "alice")));
  EXPECT_THAT(sources.log(), ElementsAre(HasSubstr("did not answer")));
}

TEST_F(PureFtpdTest, AMissingToolIsNotLogged) {
  addSession(105, kAlice);
  const test::FakeSources sources(tree_, sockets_);
  EXPECT_THAT(test::readAll(readWithLimits, *sources), ElementsAre(ftp(105, "alice")));
  EXPECT_THAT(sources.log(), IsEmpty());
}

TEST_F(PureFtpdTest, AUsersProgramUnderTheServersNameIsNone) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  addProcess(21, 20, "pure-ftpd (IDLE)", kAlice, {{4, 900}});
  EXPECT_THAT(read(readWithLimits), IsEmpty());
}

TEST_F(PureFtpdTest, AnUnreadableSessionIsAFailureThatNamesTheRemedy) {
  addSession(105, kAlice);
  tree_.makeUnreadable(105, "status");
  EXPECT_THAT(failureOf(readWithLimits), HasSubstr("run this as root"));
}

TEST(PureFtpwhoTest, NamesTheAccountOfEachSession) {
  EXPECT_THAT(parsePureFtpwho("141|walt|5|IDLE||10.20.0.3\n139|vera|11| UL |f|10.20.0.2\n85|?|1|"),
              ElementsAre(Pair(85, "?"), Pair(139, "vera"), Pair(141, "walt")));
}

TEST(PureFtpwhoTest, AnAccountMayHoldWhatSeparatesFields) {
  EXPECT_THAT(parsePureFtpwho("46|ve\\|ra\\\\x|3|IDLE|\n"), ElementsAre(Pair(46, "ve|ra\\x")));
}

TEST(PureFtpwhoTest, ASessionThatIsNamedTwiceHasNoAccount) {
  EXPECT_THAT(parsePureFtpwho("46|root|1|\n47|bob|1|\n46|vera|1|\n46|x|1|\n"),
              ElementsAre(Pair(47, "bob")));
}

TEST(PureFtpwhoTest, GarbageNamesNobody) {
  EXPECT_THAT(parsePureFtpwho(""), IsEmpty());
  EXPECT_THAT(parsePureFtpwho("\n|||\nx|bob|1\n46\n46||1\n 47|bob|\n99999999999|bob|\n\\"),
              IsEmpty());
}

}  // namespace
}  // namespace zevo::connections
