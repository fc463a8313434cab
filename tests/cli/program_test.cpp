#include "cli/program.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cli {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class ProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the program reads connections as root only";
    program.answer("list", {listAnswer({row(4711, "alice", "CIFS"), row(12, "bob")})});
    program.answer("list_by_user", {listAnswer({row(12, "bob")})});
  }

  Program program;
};

Json::Value object(const std::vector<std::pair<const char*, Json::Value>>& members) {
  Json::Value value(Json::objectValue);
  for (const auto& [name, member] : members) value[name] = member;
  return value;
}

void becomeNobody() {
  constexpr unsigned kNobody = 65534;
  if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) _exit(126);
}

void writeToFullDisk() {
  dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
}

TEST_F(ProgramTest, ListPrintsATableAndItsLength) {
  const Outcome run = program.run({"list"});
  EXPECT_EQ(run.out,
            "USER   SERVICE  FROM       SINCE                RESOURCE   PID\n"
            "alice  CIFS     10.20.0.2  2026-11-20 21:26:24  pts/3     4711\n"
            "bob    SSH      10.20.0.2  2026-11-20 21:26:24  pts/3       12\n"
            "\n"
            "2 connections\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(ProgramTest, ListCallsTheMethodAsAdministratorWithASessionFile) {
  program.run(
      {"list", "--filter", "cifs", "--sort-by", "who", "--asc", "--start", "1", "--limit", "2"});
  const std::vector<Json::Value> calls = program.calls();
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0]["method"], "list");
  EXPECT_EQ(calls[0]["user"], "admin");
  EXPECT_EQ(calls[0]["admin"], true);
  EXPECT_EQ(calls[0]["session_file"], true);
  EXPECT_EQ(calls[0]["parameters"], object({{"filter", "cifs"},
                                            {"sort_by", "who"},
                                            {"sort_direction", "ASC"},
                                            {"start", 1},
                                            {"limit", 2}}));
}

TEST_F(ProgramTest, MineCallsTheMethodAsThatUser) {
  EXPECT_EQ(program.run({"mine", "--user", "bob"}).exitCode, 0);
  EXPECT_EQ(program.run({"mine"}).exitCode, 0);
  const std::vector<Json::Value> calls = program.calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0]["method"], "list_by_user");
  EXPECT_EQ(calls[0]["user"], "bob");
  EXPECT_EQ(calls[0]["admin"], false);
  EXPECT_EQ(calls[1]["user"], "admin");
}

TEST_F(ProgramTest, JsonIsTheMethodsResultAsItIs) {
  program.answer("list", {R"({"data":{"total":0,"items":[],"systime":"now\n","extra":[null]}})"});
  const Outcome run = program.run({"list", "--json"});
  EXPECT_EQ(run.out, "{\"extra\":[null],\"items\":[],\"systime\":\"now\\n\",\"total\":0}\n");
  EXPECT_EQ(run.exitCode, 0);
}

const std::string kWarnings =
    R"("warnings":[{"code":"connections_missing","service":"LOGIN","detail":"cannot read \u001b"},)"
    R"({"code":"details_missing","service":"CIFS"},{"code":"connections_missing"}])";

TEST_F(ProgramTest, WarningsStandAboveTheTableOnStandardError) {
  program.answer("list", {R"({"data":{"total":0,"items":[],"systime":"now"},)" + kWarnings + "}"});
  const Outcome run = program.run({"list"});
  EXPECT_EQ(run.err,
            "currentconn: LOGIN connections may be missing: cannot read \uFFFD; some "
            "details of the CIFS connections are not known; connections may be missing\n");
  EXPECT_EQ(run.out, "nobody is connected\n");
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(ProgramTest, JsonKeepsItsShapeAndWarnsInJsonOnStandardError) {
  program.answer("list", {R"({"data":{"total":0,"items":[],"systime":"now"},)" + kWarnings + "}"});
  const Outcome run = program.run({"list", "--json"});
  EXPECT_EQ(run.out, "{\"items\":[],\"systime\":\"now\",\"total\":0}\n");
  EXPECT_EQ(run.err,
            "{\"warnings\":[{\"code\":\"connections_missing\",\"detail\":\"cannot read \\u001b\","
            "\"service\":\"LOGIN\"},{\"code\":\"details_missing\",\"service\":\"CIFS\"},"
            "{\"code\":\"connections_missing\"}]}\n");
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(ProgramTest, AnEmptyListIsASentence) {
  program.answer("list", {listAnswer({})});
  EXPECT_EQ(program.run({"list"}).out, "nobody is connected\n");
  EXPECT_EQ(program.run({"list", "--filter", "cifs"}).out, "no connections match \"cifs\"\n");
}

TEST_F(ProgramTest, NoControlCharacterOfAServiceComesOut) {
  program.answer("list", {listAnswer({row(7, "\x1b]0;owned\x07", "SSH", "\x1b[2J", "a\r\nb")})});
  for (const char c : program.run({"list"}).out) {
    EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << static_cast<int>(c);
  }
}

TEST_F(ProgramTest, AFailureIsToldWithItsCauses) {
  program.answer("list", {R"({"error":117,"causes":["smbstatus did not answer","no /proc"]})"});
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"list"}, std::vector<std::string>{"list", "--json"}}) {
    const Outcome run = program.run(words);
    EXPECT_EQ(run.err,
              "currentconn: cannot read the connections:\n"
              "  smbstatus did not answer\n"
              "  no /proc\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.exitCode, 1);
  }
}

TEST_F(ProgramTest, AFailureWithoutACausePointsToTheSystemLog) {
  program.answer("list", {R"({"error":117})"});
  EXPECT_EQ(program.run({"list"}).err,
            "currentconn: cannot read the connections:\n"
            "  see the system log: journalctl -t currentconn\n");
}

// It would reach the method as another text.
TEST_F(ProgramTest, AnArgumentThatIsNoUtf8IsRefusedBeforeAnyCall) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
      {"--filter", {"list", "--filter", "\xFF"}},
      {"--user", {"mine", "--user", "\xC3"}},
      {"--filter", {"report", "-o", "-", "--filter", "\xFF"}},
      {"--user", {"kick", "--yes", "--user", "b\xF6rn"}},
      {"--filter", {"kick", "--yes", "--filter", "\xFF"}},
      {"USER", {"disable", "--yes", "alice", "b\xF6rn"}},
      {"USER", {"enable", "b\xF6rn"}}};
  for (const auto& [name, words] : cases) {
    const Outcome run = program.run(words);
    EXPECT_EQ(run.err, "currentconn: the value of " + name + " is not valid UTF-8\n");
    EXPECT_EQ(run.exitCode, 2) << words.front();
  }
  EXPECT_TRUE(program.calls().empty());
}

TEST_F(ProgramTest, AFilterThatIsTooLongIsNamedAsTheReason) {
  program.answer("list", {R"({"error":117})"});
  const Outcome run = program.run({"list", "--filter", std::string(4587, 'x')});
  EXPECT_EQ(run.err,
            "currentconn: the value of --filter is too long: in upper case it must stay below 4587 "
            "bytes\n");
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(ProgramTest, ARefusalToANonAdministratorHasItsOwnExitCode) {
  program.answer("list", {R"({"error":105})"});
  const Outcome run = program.run({"list"});
  EXPECT_EQ(run.err,
            "currentconn: administrator rights are required to see the connections of all users\n");
  EXPECT_EQ(run.exitCode, 3);
}

TEST_F(ProgramTest, AnUnknownErrorIsToldByItsNumber) {
  program.answer("list", {R"({"error":4242,"causes":["because"]})"});
  const Outcome run = program.run({"list"});
  EXPECT_EQ(run.err, "currentconn: cannot read the connections, error 4242:\n  because\n");
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(ProgramTest, WhatTheModuleDoesWrongIsToldInWords) {
  for (const auto& [answer, cause] :
       {std::pair{R"({"data":{"total":1}})", "the answer of \"list\" is not a list of connections"},
        std::pair{R"({"data":null})", "the answer of \"list\" is not a list of connections"},
        std::pair{R"({"silent":true})", "the method recorded no outcome"},
        std::pair{R"({"throw":true})", "the method threw \"an exception that escaped\""}}) {
    program.answer("list", {answer});
    const Outcome run = program.run({"list"});
    EXPECT_EQ(run.err, "currentconn: cannot read the connections:\n  " + std::string(cause) + "\n");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.exitCode, 1);
  }
}

TEST_F(ProgramTest, AModuleThatCannotBeLoadedIsNamedWithTheRemedy) {
  const std::string remedy = "; reinstall currentconn\n";
  const std::string folder = (program.folder() / "modules").string();
  fs::remove(program.modulePath());
  EXPECT_EQ(program.run({"list"}).err,
            "currentconn: cannot find a module in " + folder + ": there is no *.so" + remedy);
  std::ofstream(program.modulePath()) << "no library";
  const Outcome run = program.run({"list"});
  EXPECT_THAT(run.err, StartsWith("currentconn: cannot load the module " +
                                  program.modulePath().string() + ": "));
  EXPECT_THAT(run.err, EndsWith(remedy));
  EXPECT_EQ(run.exitCode, 1);
  fs::remove(program.modulePath());
  fs::copy(program.folder() / "lib" / "libzevowebapi.so", program.modulePath());
  EXPECT_THAT(program.run({"list"}).err, HasSubstr("it does not export GetAPITable" + remedy));
}

TEST_F(ProgramTest, NoEnvironmentVariableChoosesTheModule) {
  for (const char* name : {"LD_LIBRARY_PATH", "CURRENTCONN_MODULES", "CURRENTCONN_MODULE"}) {
    program.environment.push_back(std::string(name) + "=/nonexistent");
  }
  EXPECT_EQ(program.run({"list"}).exitCode, 0);
}

TEST_F(ProgramTest, ASessionFileThatCannotBeCreatedIsNamed) {
  std::ofstream(program.folder() / "run") << "a file where the folder should be";
  const Outcome run = program.run({"list"});
  EXPECT_EQ(run.err, "currentconn: cannot read the connections:\n  cannot open " +
                         (program.folder() / "run").string() + ": Not a directory\n");
  EXPECT_EQ(run.exitCode, 1);
}

TEST_F(ProgramTest, ABadConfigurationStopsItWithFileLineAndReason) {
  std::ofstream(program.folder() / "config.toml") << "\nbogus = 1\n";
  const Outcome run = program.run({"list"});
  EXPECT_NE(run.err.find((program.folder() / "config.toml").string() + ":2: "), std::string::npos)
      << run.err;
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_TRUE(program.calls().empty());
}

TEST_F(ProgramTest, AMissingConfigurationThatWasAskedForStopsIt) {
  fs::remove(program.folder() / "config.toml");
  EXPECT_EQ(program.run({"list"}).exitCode, 2);
}

TEST_F(ProgramTest, WrongUsageIsASentenceAndExitCodeTwo) {
  const Outcome run = program.run({"list", "--start", "x"});
  EXPECT_EQ(run.err,
            "currentconn: --start must be a whole number from 0 to 2147483647, found \"x\"\n");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.exitCode, 2);
}

TEST_F(ProgramTest, WatchingNeedsATerminal) {
  const Outcome run = program.run({"list", "--watch"});
  EXPECT_EQ(
      run.err,
      "currentconn: --watch needs a terminal, but standard output is not one: leave it out\n");
  EXPECT_EQ(run.exitCode, 2);
}

TEST_F(ProgramTest, SomebodyWithoutRightsIsToldWhatItNeeds) {
  const Outcome list = program.run({"list"}, becomeNobody);
  EXPECT_EQ(list.err,
            "currentconn: reading the connections needs root: run 'sudo currentconn list'\n");
  EXPECT_EQ(list.exitCode, 3);
  const Outcome mine = program.run({"mine"}, becomeNobody);
  EXPECT_EQ(mine.err,
            "currentconn: reading the connections needs root, or currentconnd to be running: run "
            "'sudo currentconn mine --user nobody'\n");
  EXPECT_EQ(mine.exitCode, 3);
  EXPECT_TRUE(program.calls().empty());
}

TEST_F(ProgramTest, HelpAndVersionNeedNoRights) {
  for (const char* option : {"--help", "--version"}) {
    const Outcome run = program.run({option}, becomeNobody);
    EXPECT_NE(run.out, "");
    EXPECT_EQ(run.exitCode, 0);
  }
}

TEST_F(ProgramTest, AFullDiskIsAFailure) {
  for (const char* word : {"list", "--help"}) {
    const Outcome run = program.run({word}, writeToFullDisk);
    EXPECT_EQ(run.err, "currentconn: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(run.exitCode, 1);
  }
}

TEST_F(ProgramTest, AReaderThatWentAwayIsNoNoise) {
  const auto withoutReader = [] {
    int ends[2];
    if (pipe(ends) != 0) _exit(126);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
  };
  std::vector<std::string> rows;
  for (int pid = 2; pid < 3000; ++pid) rows.push_back(row(pid, "alice"));
  program.answer("list", {listAnswer(rows)});
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"list"}, std::vector<std::string>{"list", "--json"}}) {
    const Outcome run = program.run(words, withoutReader);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.signal, 0);
  }
}

TEST_F(ProgramTest, AClosedStandardOutputIsAFailureAndNoFileTakesItsPlace) {
  const Outcome run = program.run({"list"}, [] { close(STDOUT_FILENO); });
  EXPECT_EQ(run.err, "currentconn: cannot write to standard output: Bad file descriptor\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(fs::file_size(program.folder() / "run" / "sessions"), 0U);
}

TEST_F(ProgramTest, AllStandardDescriptorsMayBeClosed) {
  const Outcome run = program.run({"list"}, [] {
    for (int descriptor = 0; descriptor < 3; ++descriptor) close(descriptor);
  });
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(fs::file_size(program.folder() / "run" / "sessions"), 0U);
}

TEST_F(ProgramTest, PipedOutputIsNeverCut) {
  program.environment.emplace_back("COLUMNS=20");
  program.answer("list", {listAnswer({row(7, std::string(300, 'u'))})});
  EXPECT_NE(program.run({"list"}).out.find(std::string(300, 'u')), std::string::npos);
}

TEST_F(ProgramTest, PipedOutputHasNoColours) {
  program.environment.emplace_back("TERM=xterm-256color");
  EXPECT_EQ(program.run({"list"}).out.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace cli
