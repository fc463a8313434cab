#include "cli/commands/own_processes.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

namespace cli {
namespace {

using Pids = std::vector<std::uint32_t>;

class ProcessTree : public ::testing::Test {
 protected:
  ProcessTree() {
    std::string pattern = (std::filesystem::temp_directory_path() / "proc-XXXXXX").string();
    folder = mkdtemp(pattern.data());
  }
  ~ProcessTree() override { std::filesystem::remove_all(folder); }

  void add(int pid, int parent) const {
    const std::filesystem::path process = folder / std::to_string(pid);
    std::filesystem::create_directory(process);
    std::ofstream(process / "status")
        << "Name:\tPPid:\t9\nPid:\t" << pid << "\nPPid:\t" << parent << "\nTracerPid:\t0\n";
  }

  std::filesystem::path folder;
};

TEST_F(ProcessTree, IsClimbedToTheTop) {
  add(40, 30);
  add(30, 20);
  add(20, 1);
  add(1, 0);
  EXPECT_EQ(processesAbove(40, folder.string()), (Pids{30, 20, 1}));
}

TEST_F(ProcessTree, IsClimbedAsFarAsItCanBeRead) {
  add(40, 30);
  EXPECT_EQ(processesAbove(40, folder.string()), Pids{30});
  EXPECT_EQ(processesAbove(41, folder.string()), Pids{});
}

TEST_F(ProcessTree, OfACircleHasAnEnd) {
  add(40, 30);
  add(30, 40);
  EXPECT_EQ(processesAbove(40, folder.string()).size(), 64U);
}

TEST(OwnProcesses, BeginWithTheParent) {
  ASSERT_FALSE(processesAbove(getpid()).empty());
  EXPECT_EQ(processesAbove(getpid()).front(), static_cast<std::uint32_t>(getppid()));
}

}  // namespace
}  // namespace cli
