#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/program.h"
#include "cli/terminal_session.h"

namespace cli {
namespace {

// Accounts that every system has. The module does not change them; the tests with a real module
// cover accounts.
const std::string kAlice = "games";
const std::string kBob = "news";

class DisableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the program disables accounts as root only";
    answerLists({listAnswer({row(12, kAlice), row(13, "carol")}), listAnswer({row(13, "carol")})});
    program.answer("disable_user", {R"({"data":null})"});
  }

  // The read of the plan, then that of the attempt before it begins; the others follow it.
  void answerLists(std::vector<std::string> answers) {
    answers.insert(answers.begin(), answers.front());
    program.answer("list", answers);
  }

  [[nodiscard]] std::vector<Json::Value> disablings() const {
    std::vector<Json::Value> parameters;
    for (const Json::Value& call : program.calls()) {
      if (call["method"] == "disable_user") parameters.push_back(call["parameters"]);
    }
    return parameters;
  }

  Program program;
};

TEST_F(DisableTest, SendsAllNamesInOneCall) {
  program.run({"disable", kAlice, kBob, "--yes"});
  ASSERT_EQ(disablings().size(), 1U);
  ASSERT_EQ(disablings()[0]["users"].size(), 2U);
  EXPECT_EQ(disablings()[0]["users"][0], kAlice);
  EXPECT_EQ(disablings()[0]["users"][1], kBob);
}

TEST_F(DisableTest, ShowsAndReportsAccountsAndConnections) {
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_TRUE(
      run.out.starts_with("USER   SERVICE  FROM       SINCE                RESOURCE  PID\n"
                          "games  SSH      10.20.0.2  2026-11-20 21:26:24  pts/3      12\n"
                          "\n"
                          "account to be disabled: games\n"))
      << run.out;
  EXPECT_TRUE(
      run.out.ends_with("not disabled: games\n"
                        "ended: SSH of games from 10.20.0.2, pid 12\n"))
      << run.out;
  EXPECT_EQ(run.exitCode, 1) << "the account is not disabled, whatever the method says";
}

TEST_F(DisableTest, WaitsOnlyWhereThereIsSomethingToWaitFor) {
  EXPECT_NE(program.run({"disable", kAlice, "--yes"}).err.find("waiting"), std::string::npos);
  program.answer("list", {listAnswer({row(13, "carol")})});
  EXPECT_EQ(program.run({"disable", kAlice, "--yes"}).err.find("waiting"), std::string::npos);
}

TEST_F(DisableTest, ADryRunSaysWhatTheRealRunSays) {
  for (const auto& [name, code] :
       {std::pair{"no-such-account", 1}, {"root", 2}, {"a@example", 2}}) {
    const Outcome dry = program.run({"disable", kAlice, name, "--dry-run"});
    const Outcome real = program.run({"disable", kAlice, name, "--yes"});
    EXPECT_EQ(dry.err, real.err);
    EXPECT_NE(dry.err.find(std::string("\"") + name + "\""), std::string::npos) << dry.err;
    EXPECT_EQ(dry.exitCode, code) << name;
    EXPECT_EQ(real.exitCode, code) << name;
  }
  EXPECT_TRUE(disablings().empty());
}

TEST_F(DisableTest, CallsNothingEndedThatTheListMayLack) {
  const IdleProcess server;
  answerLists({listAnswer({row(server.pid(), kAlice)}), incomplete(listAnswer({}), "SSH")});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(
      run.err.find("currentconn: it is not known whether all of their connections have ended:\n"
                   "  SSH connections may be missing: no reason\n"),
      std::string::npos)
      << run.err;
  EXPECT_EQ(run.out.find("ended: SSH"), std::string::npos) << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

// The exit code also depends on whether the account itself is disabled: these names are not
// accounts, so only the text shows what remains.
TEST_F(DisableTest, NamesALoginAtTheConsoleThatStays) {
  const std::string console = row(40, kAlice, "LOGIN", "");
  answerLists({listAnswer({console}), listAnswer({console})});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.out.find("still there: LOGIN of games, pid 40: console logins cannot be ended from "
                         "here; use loginctl terminate-session\n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.err.find("not all of their connections have ended\n"), std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(DisableTest, NamesConnectionsThatCameMeanwhile) {
  const std::string again = row(14, kAlice, "SSH", "10.20.0.2", "pts/4", "9999-12-31 00:00:00");
  const std::string web = row(5, kAlice, "HTTP/HTTPS", "10.20.0.9", "", "9999-12-31 00:00:00");
  answerLists({listAnswer({row(12, kAlice)}), listAnswer({again, web})});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.out.find("connected again, pid 14: SSH of games from 10.20.0.2, pid 12\n"
                         "new connection: HTTP/HTTPS of games from 10.20.0.9\n"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(DisableTest, LooksAgainWhereAProcessIsAboutToGo) {
  const std::string shell = row(12, kAlice);
  answerLists({listAnswer({shell}), listAnswer({shell}), listAnswer({})});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.out.find("ended: SSH of games"), std::string::npos) << run.out;
  EXPECT_EQ(run.err.find("not all of their"), std::string::npos) << run.err;
}

TEST_F(DisableTest, SaysThatItCouldNotLookWhereSambasUsersAreNotKnown) {
  answerLists({listAnswer({}),
               incomplete(listAnswer({row(4711, "unknown", "CIFS")}), "CIFS", "details_missing")});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.err.find("currentconn: it is not known whether games is connected over SMB:\n"
                         "  some details of the CIFS connections are not known: no reason\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(DisableTest, ADryRunOnlyShows) {
  const Outcome run = program.run({"disable", kAlice, "--dry-run"});
  EXPECT_NE(run.out.find("account to be disabled: games\n"), std::string::npos);
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(disablings().empty());
}

TEST_F(DisableTest, RefusesToGoOnWhereNobodyCanBeAsked) {
  const Outcome run = program.run({"disable", kAlice}, [] { close(STDIN_FILENO); });
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(disablings().empty());
}

TEST_F(DisableTest, AsksOnATerminal) {
  TerminalSession session(program, {"disable", kAlice}, 80, 24);
  ASSERT_TRUE(session.waitFor("Disable the accounts and end these connections? [y/N] "));
  session.type("n\n");
  EXPECT_EQ(session.waitForEnd(), 1);
  EXPECT_NE(session.output().find("nothing was changed"), std::string::npos);
  EXPECT_TRUE(disablings().empty());
}

TEST_F(DisableTest, ARefusalForTheLastAdministratorsSakeHasItsOwnExitCode) {
  program.answer("disable_user", {R"({"error":7100})"});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.err.find("currentconn: refused: too few administrators who can log in would "
                         "remain; nothing was changed\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 4);
}

TEST_F(DisableTest, AFailureSaysThatNothingHasChanged) {
  program.answer("disable_user", {R"({"error":117,"causes":["there is no account \"x\""]})"});
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_NE(run.err.find("currentconn: no account was disabled and no connection ended:\n"
                         "  there is no account \"x\"\n"),
            std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(DisableTest, RefusesTheAccountOfTheCaller) {
  program.environment.push_back("SUDO_USER=" + kAlice);
  const Outcome run = program.run({"disable", kAlice, "--yes"});
  EXPECT_EQ(run.err, "currentconn: \"games\" is the account with which you are logged in\n");
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(disablings().empty());
}

}  // namespace
}  // namespace cli
