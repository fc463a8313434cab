#include <chrono>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/program.h"
#include "cli/terminal_session.h"

namespace cli {
namespace {

using Clock = std::chrono::steady_clock;

const std::string kAliceShell = row(12, "alice", "SSH");
const std::string kAliceShares =
    row(4711, "alice", "CIFS", "10.20.0.2", "media (alice), photos (bob)");
const std::string kAliceWeb = row(5, "alice", "HTTP/HTTPS", "10.20.0.9", "Firefox");
const std::string kBobShell = row(13, "bob", "SSH", "10.20.0.3");
const std::string kNfs = row(0, "", "NFS", "10.20.0.4", "version 4.2");
const std::string kDone = R"({"data":null})";

class KickTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the program ends connections as root only";
    answerLists({listAnswer({kAliceShell, kAliceShares, kAliceWeb, kBobShell, kNfs}),
                 listAnswer({kBobShell, kNfs})});
    program.answer("kick_connection", {kDone});
  }

  // The read of the plan, then that of the attempt before it begins; the others follow it.
  void answerLists(std::vector<std::string> answers) {
    answers.insert(answers.begin(), answers.front());
    program.answer("list", answers);
  }

  // The parameters of the calls of "kick_connection".
  [[nodiscard]] std::vector<Json::Value> kicks() const {
    std::vector<Json::Value> parameters;
    for (const Json::Value& call : program.calls()) {
      if (call["method"] == "kick_connection") parameters.push_back(call["parameters"]);
    }
    return parameters;
  }

  static std::vector<std::string> manyOfAlice() {
    std::vector<std::string> rows;
    for (int pid = 100; pid < 170; ++pid) rows.push_back(row(pid, "alice"));
    return rows;
  }

  // More connections than are ended at a time, whose ends last until letThemEnd.
  void answerManyOfAlice() {
    answerLists({listAnswer(manyOfAlice()), listAnswer({})});
    program.answer("kick_connection", {R"({"data":null,"wait_for":"go"})"});
  }

  void letThemEnd() const { std::ofstream(program.folder() / "go") << "go"; }

  [[nodiscard]] bool waitForKicks(std::size_t count) const {
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(120);
    while (kicks().size() < count && Clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return kicks().size() >= count;
  }

  Program program;
};

TEST_F(KickTest, EndsAllOfAUserAndReportsEachConnection) {
  const Outcome run = program.run({"kick", "--user", "alice", "--yes"});
  EXPECT_EQ(run.out,
            "USER   SERVICE     FROM       SINCE                RESOURCE                      PID\n"
            "alice  SSH         10.20.0.2  2026-11-20 21:26:24  pts/3                          12\n"
            "alice  CIFS        10.20.0.2  2026-11-20 21:26:24  media (alice), photos (bob)  4711\n"
            "alice  HTTP/HTTPS  10.20.0.9  2026-11-20 21:26:24  Firefox                         5\n"
            "\n"
            "ended: SSH of alice from 10.20.0.2, pid 12\n"
            "ended: CIFS of alice from 10.20.0.2, pid 4711\n"
            "ended: HTTP/HTTPS of alice from 10.20.0.9\n");
  EXPECT_EQ(run.err, "waiting for connections to end ...\n");
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(KickTest, CallsNothingEndedThatTheListMayLack) {
  const IdleProcess server;
  answerLists({listAnswer({row(server.pid(), "alice")}), incomplete(listAnswer({}), "SSH")});
  const Outcome run = program.run({"kick", "--user", "alice", "--yes"});
  EXPECT_EQ(run.err,
            "waiting for connections to end ...\n"
            "currentconn: it is not known whether all of them have ended:\n"
            "  SSH connections may be missing: no reason\n");
  EXPECT_EQ(run.out.find("ended: "), std::string::npos) << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, WarnsOfWhatTheListMayLack) {
  answerLists(
      {incomplete(listAnswer({kAliceShell}), "LOGIN"), incomplete(listAnswer({}), "LOGIN")});
  const Outcome run = program.run({"kick", "--user", "alice", "--yes"});
  EXPECT_EQ(run.err,
            "currentconn: LOGIN connections may be missing: no reason\n"
            "waiting for connections to end ...\n");
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(KickTest, EndsEachConnectionByACallOfItsOwn) {
  answerLists({listAnswer({kAliceShell, kAliceShares, kAliceWeb,
                           row(6, "alice", "HTTP/HTTPS", "10.20.0.10")}),
               listAnswer({})});
  program.run({"kick", "--user", "alice", "--yes"});
  std::multiset<std::string> kinds;
  ASSERT_EQ(kicks().size(), 4U);
  for (const Json::Value& parameters : kicks()) {
    ASSERT_EQ(parameters.size(), 1U);
    const std::string kind = parameters.getMemberNames().front();
    ASSERT_EQ(parameters[kind].size(), 1U);
    kinds.insert(kind);
  }
  EXPECT_EQ(kinds,
            (std::multiset<std::string>{"http_conn", "http_conn", "service_conn", "service_conn"}));
}

TEST_F(KickTest, SendsRowsAsTheListGaveThem) {
  program.run({"kick", "12", "--yes"});
  ASSERT_EQ(kicks().size(), 1U);
  const Json::Value element = kicks()[0]["service_conn"][0];
  EXPECT_EQ(element["who"], "alice");
  EXPECT_EQ(element["from"], "10.20.0.2");
  EXPECT_EQ(element["type"], "SSH");
  EXPECT_EQ(element["pid"], 12);
}

TEST_F(KickTest, CallsAsAdministratorEachInAProcessOfItsOwn) {
  program.run({"kick", "--user", "alice", "--yes"});
  std::set<int> processes;
  std::size_t count = 0;
  for (const Json::Value& call : program.calls()) {
    if (call["method"] != "kick_connection") continue;
    EXPECT_EQ(call["user"], "admin");
    EXPECT_EQ(call["admin"], true);
    processes.insert(call["pid"].asInt());
    ++count;
  }
  EXPECT_EQ(processes.size(), count);
}

TEST_F(KickTest, LeavesTheFilterToTheMethod) {
  program.answer("list", {listAnswer({kAliceShell, kBobShell}), listAnswer({kBobShell}),
                          listAnswer({kAliceShell, kBobShell}), listAnswer({kAliceShell})});
  const Outcome run = program.run({"kick", "--filter", "photos", "--yes"});
  EXPECT_EQ(program.calls()[1]["parameters"]["filter"], "photos");
  ASSERT_EQ(kicks().size(), 1U);
  EXPECT_NE(run.out.find("ended: SSH of bob"), std::string::npos) << run.out;
}

TEST_F(KickTest, ADryRunOnlyShows) {
  const Outcome run = program.run({"kick", "--user", "bob", "--dry-run"});
  EXPECT_NE(run.out.find("bob   SSH"), std::string::npos) << run.out;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(kicks().empty());
}

TEST_F(KickTest, RefusesToGoOnWhereNobodyCanBeAsked) {
  const Outcome run = program.run({"kick", "--user", "bob"}, [] { close(STDIN_FILENO); });
  EXPECT_EQ(run.err,
            "currentconn: standard input is not a terminal, so nobody can confirm: add --yes, or "
            "--dry-run for a preview\n");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(kicks().empty());
}

TEST_F(KickTest, AsksOnATerminalAndTakesOnlyAYes) {
  for (const std::string& key : {std::string("\n"), std::string("n\n"), std::string("yess\n")}) {
    TerminalSession session(program, {"kick", "--user", "bob"}, 80, 24);
    ASSERT_TRUE(session.waitFor("End 1 connection? [y/N] "));
    session.type(key);
    EXPECT_EQ(session.waitForEnd(), 1);
    EXPECT_NE(session.output().find("nothing was ended"), std::string::npos);
    answerLists({listAnswer({kBobShell}), listAnswer({})});
    std::filesystem::remove(program.folder() / "calls");
  }
  TerminalSession session(program, {"kick", "--user", "bob"}, 80, 24);
  ASSERT_TRUE(session.waitFor("End 1 connection? [y/N] "));
  session.type("y\n");
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_NE(session.output().find("ended: SSH of bob"), std::string::npos) << session.output();
}

TEST_F(KickTest, ShowsThatItWaits) {
  program.answer("kick_connection", {R"({"data":null,"wait_ms":1500})"});
  TerminalSession session(program, {"kick", "13", "--yes"}, 80, 24);
  EXPECT_TRUE(session.waitFor("waiting for connections to end: 0 s"));
  EXPECT_TRUE(session.waitFor("waiting for connections to end: 1 s"));
  session.waitForEnd();
}

TEST_F(KickTest, NamesWhatIsStillThereAndFails) {
  answerLists({listAnswer({kBobShell}), listAnswer({kBobShell})});
  const Outcome run = program.run({"kick", "13", "--yes"});
  EXPECT_NE(run.out.find("still there: SSH of bob from 10.20.0.3, pid 13: its process did not "
                         "end in time\n"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, LooksAgainWhereAProcessIsAboutToGo) {
  answerLists({listAnswer({kBobShell}), listAnswer({kBobShell}), listAnswer({})});
  const Outcome run = program.run({"kick", "13", "--yes"});
  EXPECT_NE(run.out.find("ended: SSH of bob from 10.20.0.3, pid 13\n"), std::string::npos);
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(KickTest, NamesWhoConnectedAgainAndFails) {
  const std::string again = row(14, "bob", "SSH", "10.20.0.3", "pts/4", "9999-12-31 00:00:00");
  answerLists({listAnswer({kBobShell}), listAnswer({again})});
  const Outcome run = program.run({"kick", "13", "--yes"});
  EXPECT_NE(run.out.find("connected again, pid 14: SSH of bob from 10.20.0.3, pid 13\n"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, NamesRowsThatCannotBeEndedWithTheReason) {
  const Outcome run = program.run({"kick", "--from", "10.20.0.4", "--yes"});
  EXPECT_EQ(run.out,
            "cannot be ended: NFS of somebody from 10.20.0.4: no process serves it alone; withdraw "
            "the export instead\n");
  EXPECT_EQ(run.err, "currentconn: nothing to end\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(kicks().empty());
}

TEST_F(KickTest, NamesPidsThatAreNotThere) {
  const Outcome run = program.run({"kick", "99", "--yes"});
  EXPECT_EQ(run.out, "no connection with pid 99 matches\n");
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, FailsOverAPidThatIsNotThereOnceTheRestIsDone) {
  answerLists({listAnswer({kBobShell}), listAnswer({})});
  const Outcome run = program.run({"kick", "13", "99", "--yes"});
  EXPECT_NE(run.out.find("no connection with pid 99 matches\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("ended: SSH of bob from 10.20.0.3, pid 13\n"), std::string::npos);
  EXPECT_EQ(run.exitCode, 1);
  program.answer("list", {listAnswer({kBobShell})});
  EXPECT_EQ(program.run({"kick", "13", "99", "--dry-run"}).exitCode, 1);
}

TEST_F(KickTest, RefusesANumberThatMeansAProcessAndAWebLogin) {
  answerLists({listAnswer({kAliceShell, row(12, "bob", "HTTP/HTTPS")})});
  const Outcome run = program.run({"kick", "12", "--yes"});
  EXPECT_EQ(run.err,
            "currentconn: 12 is the number of both a process and a web login: add --service\n");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(kicks().empty());
  EXPECT_EQ(program.run({"kick", "12", "--service", "ssh", "--dry-run"}).exitCode, 0);
}

TEST_F(KickTest, TellsWhyAStepFailedAndGoesOnWithTheOthers) {
  program.answer("list", {listAnswer({kAliceShell, kBobShell})});
  program.answer("kick_connection", {R"({"error":117,"causes":["no sshd"]})", R"({"signal":9})"});
  const Outcome run = program.run({"kick", "--service", "ssh", "--yes"});
  EXPECT_EQ(kicks().size(), 2U);
  EXPECT_NE(run.out.find(": no sshd\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(": the method ended by signal 9 (Killed) before it answered\n"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, SaysThatTheResultIsNotKnownWhereTheListFailsAfterwards) {
  answerLists({listAnswer({kBobShell}), R"({"error":117,"causes":["no /proc"]})"});
  const Outcome run = program.run({"kick", "13", "--yes"});
  EXPECT_NE(run.out.find("not known: SSH of bob from 10.20.0.3, pid 13: no /proc\n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.err.find("it is not known whether all of them have ended:\n"), std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(KickTest, EndsNothingWhereTheListFails) {
  program.answer("list", {R"({"error":117,"causes":["no /proc"]})"});
  const Outcome run = program.run({"kick", "13", "--yes"});
  EXPECT_EQ(run.err, "currentconn: cannot read the connections:\n  no /proc\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(kicks().empty());
}

TEST_F(KickTest, RunsAtMostSixtyFourSideBySide) {
  answerManyOfAlice();
  TerminalSession session(program, {"kick", "--user", "alice", "--yes"}, 80, 24);
  ASSERT_TRUE(waitForKicks(64));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(kicks().size(), 64U);
  letThemEnd();
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_EQ(kicks().size(), 70U);
}

TEST_F(KickTest, GoesOnToItsEndAlsoAfterCtrlC) {
  answerManyOfAlice();
  TerminalSession session(program, {"kick", "--user", "alice", "--yes"}, 80, 24);
  ASSERT_TRUE(waitForKicks(64));
  session.type("\x03");
  ASSERT_TRUE(session.waitFor("^C"));  // the terminal shows it once the signal is sent
  letThemEnd();
  EXPECT_TRUE(waitForKicks(70));
  session.waitForEnd();
}

TEST_F(KickTest, NoControlCharacterOfAServiceComesOut) {
  answerLists(
      {listAnswer({row(7, "\x1b]0;owned\x07", "SSH", "\x1b[2J", "a\r\nb")}), listAnswer({})});
  const Outcome run = program.run({"kick", "7", "--yes"});
  for (const char c : run.out + run.err) {
    EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << static_cast<int>(c);
  }
}

}  // namespace
}  // namespace cli
