#include "base/atomic_file.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <tuple>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/failing_operations.h"
#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing_support::contentOf;
using testing_support::FailingOperations;
using testing_support::Operation;
using testing_support::TemporaryFolder;

constexpr std::array<std::string_view, 2> kPieces = {"new ", "content"};

TEST(ReplaceFile, MakesThePiecesTheContent) {
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old content");
  EXPECT_FALSE(replaceFile(path, kPieces));
  EXPECT_EQ(contentOf(path), "new content");
  EXPECT_THAT(folder.names(), ElementsAre("target"));
}

TEST(ReplaceFile, MakesAMissingFileWithTheGivenMode) {
  const TemporaryFolder folder;
  EXPECT_FALSE(replaceFile(folder.file("target"), kPieces, {.mode = 0640}));
  struct stat status {};
  ASSERT_EQ(::stat(folder.file("target").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

// The caller's limit on the size of files; its signal would end the process.
TEST(ReplaceFile, LeavesNothingIfTheContentPassesTheCallersLimit) {
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old");
  const auto replaceInFourBytes = [&] {
    const rlimit limit{4, 4};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const auto failure = replaceFile(path, kPieces);
    sigset_t blocked;
    sigset_t pending;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    ::sigpending(&pending);
    const bool isAsBefore =
        sigismember(&blocked, SIGXFSZ) == 0 && sigismember(&pending, SIGXFSZ) == 0;
    ::_exit(isAsBefore && failure && failure->error == EFBIG ? 0 : 1);
  };
  EXPECT_EXIT(replaceInFourBytes(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(contentOf(path), "old");
  EXPECT_THAT(folder.names(), ElementsAre("target"));
}

TEST(ReplaceFile, KeepsOwnerModeAndAttributes) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old");
  ASSERT_EQ(::chown(path.c_str(), 12, 34), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0461), 0);
  const bool attributes = ::setxattr(path.c_str(), "trusted.note", "kept", 4, 0) == 0;
  EXPECT_FALSE(replaceFile(path, kPieces, {.keepsIdentity = true}));
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 12U);
  EXPECT_EQ(status.st_gid, 34U);
  EXPECT_EQ(status.st_mode & 07777U, 0461U);
  std::array<char, 8> value{};
  if (!attributes) GTEST_SKIP() << "this file system has no extended attributes";
  EXPECT_EQ(::getxattr(path.c_str(), "trusted.note", value.data(), value.size()), 4);
}

TEST(ReplaceFile, ReplacesALinkInsteadOfFollowingIt) {
  const TemporaryFolder folder;
  const std::string victim = folder.write("victim", "untouched");
  ASSERT_EQ(::symlink(victim.c_str(), folder.file("target").c_str()), 0);
  EXPECT_FALSE(replaceFile(folder.file("target"), kPieces));
  EXPECT_EQ(contentOf(victim), "untouched");
  EXPECT_EQ(contentOf(folder.file("target")), "new content");
}

class OneOperationFails : public testing::TestWithParam<Operation> {};

TEST_P(OneOperationFails, LeavesTheOldFileAndNothingElse) {
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old content");
  FailingOperations operations(GetParam(), ENOSPC);
  const auto failure = replaceFile(path, kPieces, {.keepsIdentity = true}, operations);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error, ENOSPC);
  EXPECT_EQ(contentOf(path), "old content");
  EXPECT_THAT(folder.names(), ElementsAre("target"));
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, OneOperationFails,
                         testing::Values(Operation::kWrite, Operation::kShortWrite,
                                         Operation::kFsync, Operation::kChown, Operation::kChmod,
                                         Operation::kRename));

TEST(ReplaceFile, LeavesTheOldFileWhereAnAttributeCannotBeKept) {
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old content");
  if (::setxattr(path.c_str(), "user.note", "kept", 4, 0) != 0) {
    GTEST_SKIP() << "this file system has no extended attributes";
  }
  FailingOperations operations(Operation::kSetXattr, ENOSPC);
  EXPECT_TRUE(replaceFile(path, kPieces, {.keepsIdentity = true}, operations));
  EXPECT_EQ(contentOf(path), "old content");
}

TEST(ReplaceFile, BelongsToTheCallerWhoeverLaidAFileThere) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old");
  ASSERT_EQ(::chown(path.c_str(), 12, 34), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
  EXPECT_FALSE(replaceFile(path, kPieces));
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
  EXPECT_EQ(status.st_gid, ::getegid());
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

// The attributes of a file that this process, once confined, may not set.
class Confined : public testing::TestWithParam<std::tuple<const char*, bool>> {};

TEST_P(Confined, LosesOnlyTheLabelsOfModulesThatAreNotActive) {
  const auto [attribute, isTolerated] = GetParam();
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old content");
  if (::setxattr(path.c_str(), attribute, "label", 6, 0) != 0) {
    GTEST_SKIP() << "no " << attribute << " here: " << std::strerror(errno);
  }
  FailingOperations operations(Operation::kSetXattr, EPERM);
  const auto failure = replaceFile(path, kPieces, {.keepsIdentity = true}, operations);
  EXPECT_EQ(!failure.has_value(), isTolerated);
  EXPECT_EQ(contentOf(path), isTolerated ? "new content" : "old content");
}

INSTANTIATE_TEST_SUITE_P(ReplaceFile, Confined,
                         testing::Values(std::tuple("security.selinux", true),
                                         std::tuple("security.SMACK64", true),
                                         std::tuple("security.other", false),
                                         std::tuple("user.note", false)));

TEST(ReplaceFile, RemovesLeftoversOfItsOwnTargetOnRequest) {
  const TemporaryFolder folder;
  const std::string path = folder.write("target", "old");
  folder.write("target.currentconn-new-abcdef", "half");
  folder.write("target.currentconn-new-abcdefg", "somebody else's");
  folder.write("target.new-backup", "somebody else's");
  folder.write("other.currentconn-new-abcdef", "somebody else's");
  EXPECT_FALSE(replaceFile(path, kPieces, {.removeLeftovers = true}));
  EXPECT_THAT(folder.names(), ElementsAre("other.currentconn-new-abcdef", "target",
                                          "target.currentconn-new-abcdefg", "target.new-backup"));
}

TEST(ReplaceFile, FailsWithoutTheFolder) {
  const auto failure = replaceFile("/nonexistent/target", kPieces);
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->text(), "cannot open /nonexistent: No such file or directory");
}

}  // namespace
}  // namespace zevo
