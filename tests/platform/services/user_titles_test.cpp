#include "services/user_titles.h"

#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"
#include "services/sources.h"

namespace zevo::connections {
namespace {

class UserTitlesTest : public ::testing::Test {
 protected:
  void add(pid_t pid, uid_t uid) {
    tree_.add({.pid = pid, .name = "sshd", .cmdline = "title " + std::to_string(pid), .uid = uid});
    pids_.push_back(pid);
  }

  // Its title keeps a reader waiting.
  void addSlow(pid_t pid, uid_t uid) {
    add(pid, uid);
    tree_.removeFile(pid, "cmdline");
    const std::string path = tree_.paths().proc + "/" + std::to_string(pid) + "/cmdline";
    if (::mkfifo(path.c_str(), 0600) != 0) ADD_FAILURE() << path;
  }

  // The titles after one reading of all, "" where unknown, and the notes about them.
  std::vector<std::string> read() {
    const test::FakeSources sources(tree_);
    std::vector<const Process*> processes;
    for (const pid_t pid : pids_) processes.push_back(sources.processes().find(pid));
    UserTitles titles;
    const auto outcome = titles.read(*sources, processes);
    EXPECT_TRUE(outcome) << causeOf(outcome);
    std::vector<std::string> found;
    for (const Process* process : processes) {
      const auto title = titles.of(*sources, *process);
      found.push_back(title ? title->all : causeOf(title));
    }
    notes_ = (*sources).notes();
    return found;
  }

  test::ProcTree tree_;
  std::vector<pid_t> pids_;
  std::vector<ReadNote> notes_;
};

TEST_F(UserTitlesTest, AreThoseOfTheProcesses) {
  for (pid_t pid = 10; pid < 13; ++pid) add(pid, 1000);
  EXPECT_EQ(read(), (std::vector<std::string>{"title 10", "title 11", "title 12"}));
  EXPECT_TRUE(notes_.empty());
}

TEST_F(UserTitlesTest, AreLongOnes) {
  tree_.add({.pid = 10, .name = "sshd", .cmdline = std::string(100000, 'x'), .uid = 1000});
  pids_ = {10};
  add(11, 1000);
  const auto found = read();
  EXPECT_GT(found[0].size(), 4000U);
  EXPECT_EQ(found[1], "title 11");
}

TEST_F(UserTitlesTest, AreUnknownOfAUserWhoKeepsTheReaderWaiting) {
  add(10, 1000);
  addSlow(11, 1000);
  addSlow(12, 1000);
  add(13, 1001);
  EXPECT_EQ(read(), (std::vector<std::string>{"title 10", "", "", "title 13"}));
  ASSERT_EQ(notes_.size(), 1U);
  EXPECT_EQ(notes_[0].code, kDetailsMissing);
  EXPECT_EQ(notes_[0].service, "SSH");
  EXPECT_NE(notes_[0].detail.find("process 11 (sshd)"), std::string::npos) << notes_[0].detail;
}

TEST_F(UserTitlesTest, AreNotWaitedForWithoutEnd) {
  for (int i = 0; i < 6; ++i) addSlow(10 + i, 1000 + static_cast<uid_t>(i));
  add(20, 1020);
  EXPECT_EQ(read(), std::vector<std::string>(7));
  EXPECT_EQ(notes_.size(), 5U);
}

TEST_F(UserTitlesTest, CanBeAFailureThatNamesTheRemedy) {
  add(10, 1000);
  tree_.makeUnreadable(10, "cmdline");
  add(11, 1000);
  const auto found = read();
  EXPECT_NE(found[0].find("/proc/10/cmdline"), std::string::npos) << found[0];
  EXPECT_NE(found[0].find("run this as root"), std::string::npos) << found[0];
  EXPECT_EQ(found[1], "title 11");
}

TEST_F(UserTitlesTest, AreEmptyWhereTheProcessHasEnded) {
  add(10, 1000);
  const test::FakeSources sources(tree_);
  tree_.remove(10);
  UserTitles titles;
  EXPECT_EQ(titles.of(*sources, *sources.processes().find(10))->all, "");
}

}  // namespace
}  // namespace zevo::connections
