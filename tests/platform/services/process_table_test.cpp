#include "services/process_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;

constexpr std::uint64_t kKernelThread = 0x00208040;

std::vector<pid_t> pidsOf(const std::vector<const Process*>& processes) {
  std::vector<pid_t> pids;
  for (const Process* process : processes) pids.push_back(process->pid);
  return pids;
}

TEST(ProcessTableTest, FindsProcessesByPidParentAndName) {
  test::ProcTree tree;
  tree.add({.pid = 700, .name = "sshd"})
      .add({.pid = 1000, .parent = 700, .name = "sshd"})
      .add({.pid = 20, .parent = 700, .name = "bash"});
  const auto table = ProcessTable::scan(tree.paths());
  ASSERT_TRUE(table) << causeOf(table);
  ASSERT_NE(table->find(1000), nullptr);
  EXPECT_EQ(table->find(1000)->parent, 700);
  EXPECT_EQ(table->find(21), nullptr);
  EXPECT_EQ(table->find(9999), nullptr);
  EXPECT_THAT(pidsOf(table->children(700)), ElementsAre(20, 1000));
  EXPECT_THAT(pidsOf(table->children(20)), ElementsAre());
  EXPECT_THAT(pidsOf(table->named([](std::string_view n) { return n == "sshd"; })),
              ElementsAre(700, 1000));
}

TEST(ProcessTableTest, LeavesOutKernelThreadsAndZombies) {
  test::ProcTree tree;
  tree.add({.pid = 2, .parent = 0, .name = "kthreadd", .flags = kKernelThread})
      .add({.pid = 30, .name = "sshd", .state = 'Z'})
      .add({.pid = 31, .name = "sshd", .state = 'X'});
  const auto table = ProcessTable::scan(tree.paths());
  ASSERT_TRUE(table) << causeOf(table);
  EXPECT_EQ(table->all().size(), 1U);
}

TEST(ProcessTableTest, AProcessThatVanishesBetweenTwoReadsIsLeftOut) {
  test::ProcTree tree;
  tree.add({.pid = 700, .name = "sshd"}).add({.pid = 701, .name = "sshd"});
  ::unlink((tree.paths().proc + "/701/stat").c_str());
  const auto table = ProcessTable::scan(tree.paths());
  ASSERT_TRUE(table) << causeOf(table);
  EXPECT_NE(table->find(700), nullptr);
  EXPECT_EQ(table->find(701), nullptr);
}

TEST(ProcessTableTest, AProcessThatCannotBeReadFailsTheScan) {
  test::ProcTree tree;
  tree.add({.pid = 700, .name = "sshd"})
      .add({.pid = 701, .name = "smbd"})
      .makeUnreadable(700, "stat");
  const auto table = ProcessTable::scan(tree.paths());
  ASSERT_TRUE(table);
  EXPECT_EQ(table->find(700), nullptr);
  EXPECT_NE(table->find(701), nullptr);
  EXPECT_NE(causeOf(table->unread()).find("/proc/700/stat"), std::string::npos);
}

TEST(ProcessTableTest, WhereNoProcessCanBeReadTheScanFails) {
  test::ProcTree tree;
  tree.makeUnreadable(1, "stat");
  EXPECT_TRUE(hasFailed(ProcessTable::scan(tree.paths())));
}

TEST(ProcessTableTest, AMissingProcFailsTheScan) {
  Paths paths;
  paths.proc = "/nonexistent/proc";
  const auto table = ProcessTable::scan(paths);
  ASSERT_TRUE(hasFailed(table));
  EXPECT_NE(causeOf(table).find("/nonexistent/proc"), std::string::npos);
}

TEST(ProcessTableTest, TheRealProcHasThisProcessBelowItsParent) {
  const auto table = ProcessTable::scan(Paths{});
  ASSERT_TRUE(table) << causeOf(table);
  EXPECT_THAT(pidsOf(table->children(::getppid())), ::testing::Contains(::getpid()));
}

}  // namespace
}  // namespace zevo::connections
