#include "zevo/keyed_file.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error.h"

#include "platform/base/failing_operations.h"
#include "platform/base/temporary_folder.h"
#include "sdk/keyed_line.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing_support::contentOf;
using testing_support::FailingOperations;
using testing_support::Operation;
using testing_support::TemporaryFolder;

struct Line {
  int result;
  std::string text;
  bool operator==(const Line&) const = default;
};

void PrintTo(const Line& line, std::ostream* out) {
  *out << line.result << " " << testing::PrintToString(line.text);
}

class KeyedFile : public testing::Test {
 protected:
  void write(const std::string& content) const { folder_.write("file", content); }
  [[nodiscard]] std::string path() const { return folder_.file("file"); }
  [[nodiscard]] std::string content() const { return contentOf(path()); }

  [[nodiscard]] Line getLine(const char* key, int size = 1024) const {
    std::vector<char> buffer(2048, '#');
    const int result = VLIBCFileGetLine(path().c_str(), key, buffer.data(), size, 2);
    EXPECT_EQ(buffer[static_cast<std::size_t>(size)], '#') << "wrote behind the buffer";
    return {result, result < 0 ? "" : buffer.data()};
  }
  [[nodiscard]] int deleteKey(const char* key) const {
    return VLIBCFileSetLine(path().c_str(), key, nullptr, 0);
  }

  TemporaryFolder folder_;
};

TEST_F(KeyedFile, GivesTheFirstLineThatBeginsWithTheKey) {
  write("Umask:\t0022\nName:\tsmbd\nName:\tother\n");
  EXPECT_EQ(getLine("Name:"), (Line{10, "Name:\tsmbd"}));
  EXPECT_EQ(getLine("ame:"), (Line{0, ""}));
}

TEST_F(KeyedFile, CutsALineThatDoesNotFit) {
  write("Name:\tsmbd\n");
  EXPECT_EQ(getLine("Name:", 11), (Line{10, "Name:\tsmbd"}));
  EXPECT_EQ(getLine("Name:", 10), (Line{9, "Name:\tsmb"}));
  EXPECT_EQ(getLine("Name:", 2), (Line{1, "N"}));
}

TEST_F(KeyedFile, GivesALineWithoutItsBreak) {
  write("a b\r\nc d");
  EXPECT_EQ(getLine("a"), (Line{3, "a b"}));
  EXPECT_EQ(getLine("c"), (Line{3, "c d"}));
  write(std::string("a\0b\n", 4));
  EXPECT_EQ(getLine("a"), (Line{1, "a"}));
}

TEST_F(KeyedFile, ReadsTheStatusOfAProcess) {
  std::vector<char> buffer(1024);
  EXPECT_GT(VLIBCFileGetLine("/proc/self/status", "Name:", buffer.data(), 1024, 2), 6);
  EXPECT_STREQ(buffer.data(), "Name:\tsdk_test");
}

TEST_F(KeyedFile, SetsTheErrorWhereItCannotBeRead) {
  ZEVO_ERR_SET(ZEVO_ERR_NONE);
  EXPECT_EQ(getLine("Name:"), (Line{-1, ""}));
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
  ZEVO_ERR_SET(ZEVO_ERR_NONE);
  EXPECT_EQ(deleteKey("x"), -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
}

TEST_F(KeyedFile, RefusesArgumentsThatMeanNothing) {
  write("a\n");
  char buffer[2];
  EXPECT_EQ(getLine(""), (Line{-1, ""}));
  EXPECT_EQ(getLine(nullptr), (Line{-1, ""}));
  EXPECT_EQ(getLine("a", 1), (Line{-1, ""}));
  EXPECT_EQ(VLIBCFileGetLine(nullptr, "a", buffer, 2, 2), -1);
  EXPECT_EQ(VLIBCFileGetLine(path().c_str(), "a", nullptr, 2, 2), -1);
  EXPECT_EQ(VLIBCFileGetLine(path().c_str(), "a", buffer, 2, 0), -1);
  EXPECT_EQ(deleteKey(""), -1);
  EXPECT_EQ(deleteKey(nullptr), -1);
  EXPECT_EQ(VLIBCFileSetLine(path().c_str(), "a", "value", 0), -1);
  EXPECT_EQ(VLIBCFileSetLine(path().c_str(), "a", nullptr, 1), -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
  EXPECT_EQ(content(), "a\n");
}

TEST_F(KeyedFile, LosesTheFirstLineWithTheKeyAndNothingElse) {
  write("\"ab\":1\n\"a\":2\n\"b\":3\r\n\"a\":4");
  EXPECT_EQ(deleteKey("\"a\""), 1);
  EXPECT_EQ(content(), "\"ab\":1\n\"b\":3\r\n\"a\":4");
  EXPECT_EQ(deleteKey("\"a\""), 1);
  EXPECT_EQ(content(), "\"ab\":1\n\"b\":3\r\n");
  EXPECT_EQ(deleteKey("\"ab\""), 1);
  EXPECT_EQ(deleteKey("\"b\""), 1);
  EXPECT_EQ(content(), "");
}

TEST_F(KeyedFile, IsNotWrittenWithoutALineToDelete) {
  write("a\n");
  struct stat before {
  }, after{};
  ASSERT_EQ(::stat(path().c_str(), &before), 0);
  EXPECT_EQ(deleteKey("b"), 0);
  ASSERT_EQ(::stat(path().c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(KeyedFile, KeepsItsOwnerAndMode) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  write("a\n");
  ASSERT_EQ(::chown(path().c_str(), 12, 34), 0);
  ASSERT_EQ(::chmod(path().c_str(), 0640), 0);
  EXPECT_EQ(deleteKey("a"), 1);
  struct stat status {};
  ASSERT_EQ(::stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 12U);
  EXPECT_EQ(status.st_gid, 34U);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_THAT(folder_.names(), ElementsAre("file"));
}

TEST_F(KeyedFile, IsNotWrittenThroughALink) {
  write("a\n");
  std::filesystem::create_symlink(path(), folder_.file("link"));
  EXPECT_EQ(VLIBCFileSetLine(folder_.file("link").c_str(), "a", nullptr, 0), -1);
  EXPECT_EQ(content(), "a\n");
  EXPECT_TRUE(std::filesystem::is_symlink(folder_.file("link")));
}

class OneOperationOfADeletionFails : public testing::TestWithParam<Operation> {};

TEST_P(OneOperationOfADeletionFails, LeavesTheOldFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "a 1\nb 2\nc 3\n");
  FailingOperations operations(GetParam(), ENOSPC);
  ZEVO_ERR_SET(ZEVO_ERR_NONE);
  EXPECT_EQ(deleteLine(path, "b", operations), -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_SYSTEM);
  EXPECT_EQ(contentOf(path), "a 1\nb 2\nc 3\n");
  EXPECT_THAT(folder.names(), ElementsAre("file"));
}

INSTANTIATE_TEST_SUITE_P(KeyedFile, OneOperationOfADeletionFails,
                         testing::Values(Operation::kWrite, Operation::kShortWrite,
                                         Operation::kFsync, Operation::kChown, Operation::kChmod,
                                         Operation::kRename));

}  // namespace
}  // namespace zevo
