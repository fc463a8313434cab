#include <csignal>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/program.h"
#include "cli/terminal/text.h"
#include "cli/terminal_session.h"

namespace cli {
namespace {

const std::string kEnter = "\x1b[?1049h\x1b[?25l";
const std::string kLeave = "\x1b[?25h\x1b[?1049l";

// The modes of a shell's terminal that a watch turns off.
constexpr tcflag_t kShells = ECHO | ICANON;

class WatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the program reads connections as root only";
    program.answer("list", {listAnswer({row(11, "alice"), row(12, "bob")})});
  }

  // What remains on the terminal after a watch was ended by `how`.
  void expectTerminalBack(const std::function<void(const TerminalSession&)>& how) {
    TerminalSession session(program, {"list", "--watch=0.2"}, 80, 24);
    ASSERT_TRUE(session.waitFor("2 connections"));
    EXPECT_EQ(session.localModes() & kShells, 0U);
    how(session);
    EXPECT_EQ(session.waitForEnd(), 0);
    EXPECT_EQ(session.localModes() & kShells, kShells);
    EXPECT_NE(session.output().find(kEnter), std::string::npos);
    EXPECT_TRUE(session.output().ends_with(kLeave)) << session.output();
  }

  Program program;
};

TEST_F(WatchTest, ShowsTheListOnTheWholeScreen) {
  TerminalSession session(program, {"list", "--watch"}, 80, 24);
  ASSERT_TRUE(session.waitFor("2 connections"));
  EXPECT_EQ(
      session.lastFrame(),
      (std::vector<std::string>{"every 2 s   Fri Nov 20 21:30:00 2026   Ctrl-C quits",
                                "  USER   SERVICE  FROM       SINCE                RESOURCE  PID",
                                "  alice  SSH      10.20.0.2  2026-11-20 21:26:24  pts/3      11",
                                "  bob    SSH      10.20.0.2  2026-11-20 21:26:24  pts/3      12",
                                "2 connections"}));
}

TEST_F(WatchTest, CtrlCGivesTheTerminalBack) {
  expectTerminalBack([](const TerminalSession& session) { session.type("\x03"); });
}

TEST_F(WatchTest, TheLetterQGivesTheTerminalBack) {
  expectTerminalBack([](const TerminalSession& session) { session.type("q"); });
}

TEST_F(WatchTest, ASignalToEndGivesTheTerminalBack) {
  for (const int number : {SIGTERM, SIGHUP, SIGQUIT}) {
    expectTerminalBack([&](const TerminalSession& session) { session.signal(number); });
  }
}

TEST_F(WatchTest, MarksWhoCameAndForOneRoundWhoWent) {
  program.answer("list", {listAnswer({row(11, "alice"), row(12, "bob")}),
                          listAnswer({row(11, "alice"), row(13, "carol")}),
                          listAnswer({row(11, "alice"), row(13, "carol")})});
  program.environment.emplace_back("NO_COLOR=1");
  TerminalSession session(program, {"list", "--watch=0.5"}, 80, 24);
  ASSERT_TRUE(session.waitFor("  bob "));
  ASSERT_TRUE(session.waitFor("- bob "));
  ASSERT_TRUE(session.waitFor("+ carol "));
  ASSERT_TRUE(session.waitFor("  carol "));
  for (const std::string& line : session.lastFrame()) {
    EXPECT_EQ(line.find("bob"), std::string::npos) << line;
  }
}

TEST_F(WatchTest, FitsANewSizeOfTheWindowAtOnce) {
  TerminalSession session(program, {"list", "--watch=3600"}, 80, 24);
  ASSERT_TRUE(session.waitFor("2 connections"));
  session.resize(20, 4);
  ASSERT_TRUE(session.waitFor("2 connections"));
  const std::vector<std::string> frame = session.lastFrame();
  EXPECT_LE(frame.size(), 4U);
  for (const std::string& line : frame) EXPECT_LE(displayWidth(line), 20) << line;
}

TEST_F(WatchTest, ShowsAReadThatFailedAndGoesOn) {
  program.answer("list", {listAnswer({row(11, "alice")}), R"({"error":117,"causes":["no smbd"]})",
                          R"({"signal":9})", listAnswer({row(11, "alice"), row(12, "bob")})});
  TerminalSession session(program, {"list", "--watch=0.3"}, 80, 24);
  ASSERT_TRUE(session.waitFor("1 connection"));
  ASSERT_TRUE(session.waitFor("no smbd"));
  EXPECT_TRUE(session.waitFor("the call ended by signal 9 (Killed) before it answered"));
  EXPECT_TRUE(session.waitFor("2 connections"));
}

TEST_F(WatchTest, WarnsForAsLongAsRowsMayBeMissing) {
  program.answer(
      "list", {listAnswer({row(11, "alice")}), incomplete(listAnswer({row(11, "alice")}), "LOGIN"),
               listAnswer({row(11, "alice"), row(12, "bob")})});
  TerminalSession session(program, {"list", "--watch=0.3"}, 80, 24);
  ASSERT_TRUE(session.waitFor("1 connection"));
  ASSERT_TRUE(session.waitFor("LOGIN connections may be missing: no reason"));
  ASSERT_TRUE(session.waitFor("2 connections"));
  EXPECT_EQ(session.lastFrame().size(), 5U);
}

TEST_F(WatchTest, EndsWithAReasonWhereTheFirstReadFails) {
  program.answer("list", {R"({"error":117,"causes":["no smbd"]})"});
  TerminalSession session(program, {"list", "--watch"}, 80, 24);
  EXPECT_EQ(session.waitForEnd(), 1);
  EXPECT_EQ(session.output(), "currentconn: cannot read the connections:\r\n  no smbd\r\n");
}

TEST_F(WatchTest, EndsAtOnceWhileAReadHangs) {
  program.answer("list", {listAnswer({row(11, "alice")}), R"({"wait_ms":600000,"silent":true})"});
  TerminalSession session(program, {"list", "--watch=0.2"}, 80, 24);
  ASSERT_TRUE(session.waitFor("1 connection"));
  while (program.calls().size() < 2) usleep(10000);
  const int reader = program.calls()[1]["pid"].asInt();
  session.signal(SIGTERM);
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_EQ(kill(reader, 0), -1);
}

TEST_F(WatchTest, LendsTheTerminalToTheShellAndTakesItAgain) {
  TerminalSession session(program, {"list", "--watch=3600"}, 80, 24);
  ASSERT_TRUE(session.waitFor("2 connections"));
  EXPECT_EQ(session.localModes() & kShells, 0U);
  session.signal(SIGTSTP);
  ASSERT_TRUE(session.waitForStop());
  EXPECT_TRUE(session.output().ends_with(kLeave));
  EXPECT_EQ(session.localModes() & kShells, kShells);
  session.signal(SIGCONT);
  ASSERT_TRUE(session.waitFor(kEnter));
  ASSERT_TRUE(session.waitFor("2 connections"));
  session.type("q");
  EXPECT_EQ(session.waitForEnd(), 0);
}

TEST_F(WatchTest, MeansRowsOfOnePageByThePlaceInTheWholeList) {
  program.answer("list", {listAnswer({row(11, "alice"), row(12, "bob"), row(13, "carol")})});
  TerminalSession session(program, {"list", "--watch", "--start", "1", "--limit", "1"}, 80, 24);
  ASSERT_TRUE(session.waitFor("connection 2 of 3"));
  const std::vector<std::string> frame = session.lastFrame();
  ASSERT_EQ(frame.size(), 4U);
  EXPECT_EQ(frame[2], "  bob   SSH      10.20.0.2  2026-11-20 21:26:24  pts/3      12");
}

TEST_F(WatchTest, WatchesOneUsersConnections) {
  program.answer("list_by_user", {listAnswer({row(12, "bob")})});
  TerminalSession session(program, {"mine", "--user", "bob", "--watch"}, 80, 24);
  EXPECT_TRUE(session.waitFor("1 connection of bob"));
}

TEST_F(WatchTest, RefusesATerminalThatCannotMoveItsCursor) {
  program.environment.emplace_back("TERM=dumb");
  TerminalSession session(program, {"list", "--watch"}, 80, 24);
  EXPECT_EQ(session.waitForEnd(), 2);
  EXPECT_EQ(session.output(),
            "currentconn: --watch needs a terminal that can move its cursor: set TERM\r\n");
}

TEST_F(WatchTest, AListOnATerminalFitsItsWidthAndHasColours) {
  TerminalSession session(program, {"list"}, 20, 24);
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_EQ(session.output(),
            "\x1b[1mUSER   SERV…  FROM\x1b[0m\r\n"
            "alice  SSH    10.20…\r\n"
            "bob    SSH    10.20…\r\n"
            "\r\n"
            "not shown, the terminal is too narrow: SINCE, RESOURCE, PID\r\n"
            "2 connections\r\n");
}

TEST_F(WatchTest, AListOnATerminalHasNoColoursWhereNobodyWantsThem) {
  program.environment.emplace_back("NO_COLOR=1");
  TerminalSession session(program, {"list"}, 80, 24);
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_EQ(session.output().find('\x1b'), std::string::npos);
}

TEST_F(WatchTest, AListOnATerminalThatIsNotUtf8IsAscii) {
  program.environment[0] = "LC_ALL=C";
  program.answer("list", {listAnswer({row(11, "Zoë", "SSH", "10.20.0.2", "写真")})});
  TerminalSession session(program, {"list"}, 20, 24);
  EXPECT_EQ(session.waitForEnd(), 0);
  EXPECT_NE(session.output().find("Zo?   SSH     10..."), std::string::npos) << session.output();
}

}  // namespace
}  // namespace cli
