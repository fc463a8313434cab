#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

const std::string kPage = "<html><head>\n</head><body></table></body></html>";
const std::string kPrinted =
    R"({"print":"Content-Type:application/xxx\r\nContent-Disposition:attachment; )"
    R"(filename=\"currentlog.html\"\r\n\r\n<html><head>\n</head><body></table></body></html>"})";

class ReportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "the program reads connections as root only";
    program.answer("list", {listAnswer({row(12, "alice")})});
    program.answer("download", {kPrinted});
  }

  [[nodiscard]] std::string file() const { return (program.folder() / "report.html").string(); }

  [[nodiscard]] std::string content() const {
    std::ifstream stream(file());
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  Program program;
};

TEST_F(ReportTest, WritesThePageWithoutItsHeaderLines) {
  const Outcome run = program.run({"report", "-o", file()});
  EXPECT_EQ(run.out, "report written to " + file() + "\n");
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(content(), kPage);
}

TEST_F(ReportTest, TheNameOfItsFileNeedNotBeUtf8) {
  const fs::path named = program.folder() / "\xFF.html";
  EXPECT_EQ(program.run({"report", "-o", named.string()}).exitCode, 0);
  EXPECT_TRUE(fs::exists(named));
}

TEST_F(ReportTest, GoesToItsUsualFileInTheCurrentFolder) {
  const fs::path folder = program.folder();
  const Outcome run = program.run({"report"}, [&] {
    if (chdir(folder.c_str()) != 0) _exit(126);
  });
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_TRUE(fs::exists(folder / "currentlog.html"));
}

TEST_F(ReportTest, GoesToStandardOutput) {
  const Outcome run = program.run({"report", "-o", "-"});
  EXPECT_EQ(run.out, kPage);
  EXPECT_EQ(run.exitCode, 0);
}

TEST_F(ReportTest, AsksForWhatWasAskedFor) {
  program.run({"report", "-o", "-", "--filter", "cifs", "--sort-by", "who", "--asc"});
  const std::vector<Json::Value> calls = program.calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0]["method"], "list");
  EXPECT_EQ(calls[0]["parameters"]["filter"], "cifs");
  EXPECT_EQ(calls[1]["method"], "download");
  EXPECT_EQ(calls[1]["admin"], true);
  EXPECT_EQ(calls[1]["parameters"]["filter"], "cifs");
  EXPECT_EQ(calls[1]["parameters"]["sort_by"], "who");
  EXPECT_EQ(calls[1]["parameters"]["sort_direction"], "ASC");
}

TEST_F(ReportTest, WarnsOfWhatThePageMayLack) {
  program.answer("list", {incomplete(listAnswer({row(12, "alice")}), "LOGIN")});
  const Outcome run = program.run({"report", "-o", file()});
  EXPECT_EQ(run.err, "currentconn: LOGIN connections may be missing: no reason\n");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(content(), kPage);
}

TEST_F(ReportTest, IsNotWrittenWhereTheListFails) {
  program.answer("list", {R"({"error":117,"causes":["no smbd"]})"});
  const Outcome run = program.run({"report", "-o", file()});
  EXPECT_EQ(run.err, "currentconn: cannot read the connections:\n  no smbd\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_FALSE(fs::exists(file()));
}

TEST_F(ReportTest, LeavesTheOldFileWhereThePageIsNotWhole) {
  std::ofstream(file()) << "old";
  for (const std::string& answer :
       {std::string(R"({"print":"Content-Type:x\r\n\r\n<html><table>"})"),
        std::string(R"({"print":""})"), std::string(R"({"error":117})"),
        std::string(R"({"signal":9})"), std::string(R"({"data":null})")}) {
    program.answer("download", {answer});
    const Outcome run = program.run({"report", "-o", file()});
    EXPECT_TRUE(run.err.starts_with("currentconn: no report was written: ")) << run.err;
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(content(), "old");
  }
}

TEST_F(ReportTest, BelongsToTheCallerWhoeverLaidAFileThere) {
  std::ofstream(file()) << "old";
  chmod(file().c_str(), 0666);
  ASSERT_EQ(chown(file().c_str(), 1234, 1234), 0);
  EXPECT_EQ(program.run({"report", "-o", file()}).exitCode, 0);
  EXPECT_EQ(content(), kPage);
  struct stat status = {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ReportTest, IsReadableAsAskedForOnly) {
  EXPECT_EQ(program.run({"report", "-o", file()}, [] { umask(0); }).exitCode, 0);
  EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
  EXPECT_EQ(program.run({"report", "-o", file(), "--mode", "0644"}).exitCode, 0);
  EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0644));
  for (const char* mode : {"u+r", "1777", "", "8"}) {
    const Outcome run = program.run({"report", "-o", file(), "--mode", mode});
    EXPECT_EQ(run.exitCode, 2) << mode;
    EXPECT_NE(run.err.find("--mode must be an octal mode up to 777"), std::string::npos) << run.err;
  }
}

// As /dev/stdout is one, which leads to a regular file if the output was redirected to one.
TEST_F(ReportTest, NeitherFollowsNorReplacesALink) {
  const fs::path target = program.folder() / "precious";
  std::ofstream(target) << "precious";
  fs::create_symlink(target, file());
  const Outcome run = program.run({"report", "-o", file()});
  EXPECT_EQ(run.err, "currentconn: no report was written: " + file() +
                         " exists and is not a regular file; \"-o -\" writes to standard output\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(fs::file_size(target), 8U);
  EXPECT_TRUE(fs::is_symlink(file()));
}

TEST_F(ReportTest, SaysWhereItCannotWrite) {
  const std::string missing = (program.folder() / "nowhere" / "report.html").string();
  const Outcome run = program.run({"report", "-o", missing});
  EXPECT_TRUE(run.err.starts_with("currentconn: no report was written: cannot ")) << run.err;
  EXPECT_EQ(run.exitCode, 1);
  const Outcome folder = program.run({"report", "-o", program.folder().string()});
  EXPECT_EQ(folder.err,
            "currentconn: no report was written: " + program.folder().string() +
                " exists and is not a regular file; \"-o -\" writes to standard output\n");
  EXPECT_EQ(folder.exitCode, 1);
}

}  // namespace
}  // namespace cli
