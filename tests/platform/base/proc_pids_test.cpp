#include "base/proc_pids.h"

#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

constexpr const char* kRemedy = "; mount a /proc of this pid namespace (unshare --mount-proc does)";

std::optional<std::string> withSelf(const std::string& pid) {
  const testing_support::TemporaryFolder folder;
  std::filesystem::create_symlink(pid, folder.file("self"));
  return foreignPids(folder.path());
}

TEST(ProcPids, AreTheOwnOnesWhereTheProcessHasItsOwnPid) {
  EXPECT_EQ(foreignPids(), std::nullopt);
  EXPECT_EQ(withSelf(std::to_string(::getpid())), std::nullopt);
}

TEST(ProcPids, AreForeignWhereTheProcessHasAnother) {
  const testing_support::TemporaryFolder folder;
  std::filesystem::create_symlink("4711", folder.file("self"));
  EXPECT_EQ(foreignPids(folder.path()),
            folder.path() + " is that of another pid namespace: this process is " +
                std::to_string(::getpid()) +
                ", and 4711 there, so a signal would reach another process" + kRemedy);
  EXPECT_NE(withSelf(std::to_string(::getpid()) + "1"), std::nullopt);
}

TEST(ProcPids, AreForeignWhereTheProcessHasNone) {
  EXPECT_EQ(foreignPids("/nonexistent"),
            std::string("cannot read /nonexistent/self: No such file or directory") + kRemedy);
}

}  // namespace
}  // namespace zevo
