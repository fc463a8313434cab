#include "cli/commands/ending.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Connections = std::vector<Connection>;
using Notes = std::vector<zevo::ReadNote>;

const std::string kBegin = "2026-11-20 22:00:00";
const std::string kEarlier = "2026-11-20 21:59:59";
const std::string kLater = "2026-11-20 22:00:03";

Connection since(const std::string& time, Connection connection) {
  connection.time = time;
  return connection;
}

const Connection kTargetShell = connection(12, "alice");
const Connection kTargetShares = connection(4711, "alice", "CIFS");
const Connection kTargetWeb = connection(5, "alice", "HTTP/HTTPS");
const Connection kTargetFtp = connection(30, "alice", "FTP");
const Connection kTargetConsole = connection(7, "alice", "LOGIN", "");

struct EndingCase {
  const char* name;
  Connection target;
  Connections now;
  Fate fate;
  std::string line;
  std::string hindrance = {};
  Notes warnings = {};      // of the list afterwards
  Connections others = {};  // listed before, too
};

std::vector<EndingCase> endingCases() {
  const std::string shell = "SSH of alice from 10.20.0.2, pid 12";
  const std::string shares = "CIFS of alice from 10.20.0.2, pid 4711";
  const std::string ftp = "FTP of alice from 10.20.0.2, pid 30";
  const std::string web = "HTTP/HTTPS of alice from 10.20.0.2";
  const Connection another = connection(20, "alice");
  const Connection nameless = since(kLater, connection(20, "unknown", "CIFS"));
  return {
      {"Gone", kTargetShell, {}, Fate::kEnded, "ended: " + shell},
      {"PidOfAnotherService",
       kTargetShell,
       {connection(12, "alice", "CIFS")},
       Fate::kEnded,
       "ended: " + shell},
      {"AnotherClient",
       kTargetShell,
       {since(kLater, connection(20, "alice", "SSH", "10.20.0.3"))},
       Fate::kEnded,
       "ended: " + shell},
      {"AnotherConnectionOfBefore",
       kTargetShell,
       {another},
       Fate::kEnded,
       "ended: " + shell,
       "",
       {},
       {another}},
      {"AnotherConnectionThatTheFilterHid",
       kTargetShell,
       {another},
       Fate::kEnded,
       "ended: " + shell},
      {"NewProcess",
       kTargetShell,
       {since(kLater, another)},
       Fate::kConnectedAgain,
       "connected again, pid 20: " + shell},
      {"NewProcessInTheSameSecond",
       kTargetShell,
       {since(kBegin, another)},
       Fate::kConnectedAgain,
       "connected again, pid 20: " + shell},
      {"NewSessionUnderTheSamePid",
       kTargetShares,
       {since(kLater, kTargetShares)},
       Fate::kConnectedAgain,
       "connected again, pid 4711: " + shares},
      {"NewWebLogin",
       kTargetWeb,
       {since(kLater, connection(9, "alice", "HTTP/HTTPS"))},
       Fate::kConnectedAgain,
       "connected again: " + web},
      {"Process",
       kTargetShell,
       {kTargetShell},
       Fate::kStillThere,
       "still there: " + shell + ": its process did not end in time"},
      {"CallFailed",
       kTargetShell,
       {kTargetShell},
       Fate::kStillThere,
       "still there: " + shell + ": no sshd",
       "no sshd"},
      {"ProcessOfAnotherUserByNow",
       kTargetShares,
       {connection(4711, "bob", "CIFS", "10.20.0.7")},
       Fate::kStillThere,
       "still there: " + shares + ": its process now serves CIFS of bob from 10.20.0.7, pid 4711"},
      {"WebLogin",
       kTargetWeb,
       {connection(6, "alice", "HTTP/HTTPS")},
       Fate::kStillThere,
       "still there: " + web + ": its session is still recorded"},
      {"NumberOfAnotherWebLogin",
       kTargetWeb,
       {connection(5, "bob", "HTTP/HTTPS")},
       Fate::kEnded,
       "ended: " + web},
      {"TransferBegan",
       kTargetFtp,
       {connection(31, "alice", "FTP")},
       Fate::kStillThere,
       "still there: " + ftp + ": its session goes on, pid 31"},
      {"TransferLostItsSession",
       kTargetFtp,
       {since(kEarlier, connection(31, "alice", "FTP"))},
       Fate::kStillThere,
       "still there: " + ftp + ": its session goes on, pid 31"},
      {"NewFtpSession",
       kTargetFtp,
       {since(kLater, connection(31, "alice", "FTP"))},
       Fate::kConnectedAgain,
       "connected again, pid 31: " + ftp},
      {"Console",
       kTargetConsole,
       {kTargetConsole},
       Fate::kStillThere,
       "still there: LOGIN of alice, pid 7: logins at the console are not ended from here; use "
       "loginctl terminate-session"},
      {"ServiceCouldNotBeRead",
       kTargetShares,
       {},
       Fate::kNotKnown,
       "not known: " + shares,
       "",
       {{"connections_missing", "CIFS", ""}}},
      {"ListCouldNotBeReadWhole",
       kTargetShares,
       {},
       Fate::kNotKnown,
       "not known: " + shares,
       "",
       {{"connections_missing", "", ""}}},
      {"AnotherServiceCouldNotBeRead",
       kTargetShares,
       {},
       Fate::kEnded,
       "ended: " + shares,
       "",
       {{"connections_missing", "SSH", ""}}},
      {"WebLoginsAreInNoRegistry",
       kTargetWeb,
       {},
       Fate::kEnded,
       "ended: " + web,
       "",
       {{"connections_missing", "", ""}}},
      {"NobodyIsLeftWhoseUserIsNotKnown",
       kTargetShares,
       {},
       Fate::kEnded,
       "ended: " + shares,
       "",
       {{"details_missing", "CIFS", ""}}},
      {"SomebodyConnectedWhoseUserIsNotKnown",
       kTargetShares,
       {nameless},
       Fate::kNotKnown,
       "not known: " + shares,
       "",
       {{"details_missing", "CIFS", ""}}},
  };
}

class EndingTest : public ::testing::TestWithParam<EndingCase> {};

TEST_P(EndingTest, TellsWhatBecameOfIt) {
  const EndingCase& given = GetParam();
  Connections before = given.others;
  before.push_back(given.target);
  const Attempt attempt{.targets = {{given.target, given.hindrance}},
                        .before = before,
                        .begin = kBegin,
                        .warnings = {},
                        .proc = "/nowhere"};
  const std::vector<Ending> endings = endingsOf(attempt, {0, given.now, "", given.warnings});
  ASSERT_EQ(endings.size(), 1U);
  EXPECT_EQ(endings[0].line, given.line);
  EXPECT_EQ(endings[0].fate, given.fate);
}

INSTANTIATE_TEST_SUITE_P(Endings, EndingTest, ::testing::ValuesIn(endingCases()),
                         [](const auto& test) { return std::string(test.param.name); });

Attempt attemptOn(const Connections& targets) {
  Attempt attempt{
      .targets = {}, .before = targets, .begin = kBegin, .warnings = {}, .proc = "/nowhere"};
  for (const Connection& target : targets) attempt.targets.push_back({target});
  return attempt;
}

Page pageAfter(const Connections& connections) {
  return {static_cast<int>(connections.size()), connections, ""};
}

TEST(Endings, CountOneReturnOnce) {
  const Attempt attempt = attemptOn({kTargetShell, connection(13, "alice")});
  EXPECT_EQ(
      linesOf(endingsOf(attempt, pageAfter({since(kLater, connection(20, "alice"))}))),
      (std::vector<std::string>{"connected again, pid 20: SSH of alice from 10.20.0.2, pid 12",
                                "ended: SSH of alice from 10.20.0.2, pid 13"}));
}

TEST(Endings, NameFurtherConnectionsOfTheUsers) {
  Attempt attempt = attemptOn({kTargetShell});
  attempt.users = {"alice"};
  const Connection shared = connection(4711, "bob", "CIFS", "10.20.0.2", "a (bob), b (alice)");
  EXPECT_EQ(linesOf(endingsOf(attempt, pageAfter({since(kLater, connection(20, "alice")),
                                                  since(kLater, connection(21, "alice", "FTP")),
                                                  connection(22, "alice", "TELNET"), shared,
                                                  since(kLater, connection(23, "bob"))}))),
            (std::vector<std::string>{
                "connected again, pid 20: SSH of alice from 10.20.0.2, pid 12",
                "connected since: FTP of alice from 10.20.0.2, pid 21",
                "still there: TELNET of alice from 10.20.0.2, pid 22: its process did not end in "
                "time",
                "still there: CIFS of bob from 10.20.0.2, pid 4711: it serves alice too; end it "
                "with: currentconn kick 4711"}));
}

TEST(Endings, SayThatTheCallMayHaveMissedIt) {
  Attempt attempt = attemptOn({kTargetShares});
  attempt.warnings = {{"details_missing", "CIFS", "smbstatus failed"}};
  EXPECT_EQ(linesOf(endingsOf(attempt, pageAfter({kTargetShares}))),
            std::vector<std::string>{
                "still there: CIFS of alice from 10.20.0.2, pid 4711: its call may not have found "
                "it: not everything is known about the CIFS connections: smbstatus failed"});
}

TEST(Endings, SayThatAProcessWaitsInTheKernel) {
  const std::filesystem::path proc =
      std::filesystem::path(::testing::TempDir()) / "ending_test_proc";
  std::filesystem::create_directories(proc / "12");
  std::ofstream(proc / "12" / "status") << "Name:\tsshd\nState:\tD (disk sleep)\n";
  Attempt attempt = attemptOn({kTargetShell});
  attempt.proc = proc;
  EXPECT_EQ(linesOf(endingsOf(attempt, pageAfter({kTargetShell}))),
            std::vector<std::string>{"still there: SSH of alice from 10.20.0.2, pid 12: its "
                                     "process waits in the kernel and ends once that is over"});
  std::filesystem::remove_all(proc);
}

TEST(Hindrance, IsWhatTheAnswerTells) {
  const auto refusal = [](std::vector<std::string> causes) {
    return Answer{Answer::Status::kRefused, 117, "", std::move(causes)};
  };
  EXPECT_EQ(hindranceOf(Answer{Answer::Status::kDone, 0, "null", {}}), "");
  EXPECT_EQ(hindranceOf({}), "it was interrupted");
  EXPECT_EQ(hindranceOf(refusal({"no smbd", "no /proc"})), "no smbd; no /proc");
  EXPECT_EQ(hindranceOf(refusal({})), "its call failed");
}

TEST(ServicesWithoutUsers, AreThoseWithARowThatNobodyIsNamedFor) {
  Page page = pageAfter({connection(20, "unknown", "CIFS"), kTargetShell});
  EXPECT_EQ(servicesWithoutUsers(page), std::vector<std::string>{});
  page.warnings = {{"details_missing", "CIFS", ""}, {"details_missing", "NFS", ""}};
  EXPECT_EQ(servicesWithoutUsers(page), std::vector<std::string>{"CIFS"});
}

}  // namespace
}  // namespace cli
