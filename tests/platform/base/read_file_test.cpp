#include "base/read_file.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing_support::TemporaryFolder;

TEST(ReadFile, GivesAllOfTheFile) {
  const TemporaryFolder folder;
  const std::string large(300000, 'x');
  std::string content = "old";
  EXPECT_FALSE(readFile(folder.write("large", large), 300000, &content));
  EXPECT_EQ(content, large);
  EXPECT_FALSE(readFile(folder.write("empty", ""), 10, &content));
  EXPECT_EQ(content, "");
}

TEST(ReadFile, ReadsFilesOfProcWhoseSizeIsZero) {
  std::string content;
  EXPECT_FALSE(readFile("/proc/self/status", 100000, &content));
  EXPECT_NE(content.find("Name:"), std::string::npos);
}

TEST(ReadFile, RefusesMoreThanTheLimit) {
  const TemporaryFolder folder;
  std::string content;
  const auto failure = readFile(folder.write("f", "12345"), 4, &content);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error, EFBIG);
}

TEST(ReadFile, RefusesAFileOfTooManyBytesBeforeItTakesAnyMemory) {
  const TemporaryFolder folder;
  const std::string path = folder.write("f", "");
  std::filesystem::resize_file(path, 1UL << 40U);
  std::string content;
  const auto failure = readFile(path, 1UL << 39U, &content);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error, EFBIG);
}

TEST(ReadFile, NamesTheMissingFile) {
  std::string content;
  const auto failure = readFile("/nonexistent/file", 4, &content);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->text(), "cannot open /nonexistent/file: No such file or directory");
}

TEST(ReadFile, DoesNotWaitOnAPipe) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
  std::string content;
  const auto failure = readFile(folder.file("pipe"), 4, &content);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error, ENOTSUP);
}

}  // namespace
}  // namespace zevo
