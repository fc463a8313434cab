#include "services/process.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

// As recorded of an sshd, with another name.
std::string statOf(const std::string& name) {
  return "812 (" + name +
         ") S 799 812 805 34817 -1 4194560 1053 0 1 0 0 1 0 0 20 0 1 0 26243 15568896 2304 "
         "18446744073709551615 94017221775360 94017222298329 140730021953472 0 0 0 0 4096 65536 0 "
         "0 0 17 1 0 0 0 0 0 94017222409248 94017222422040 94017233604608 140730021957601 "
         "140730021957628 140730021957628 140730021957999 0\n";
}

TEST(ProcessStatTest, TakesTheFieldsThatTheRegistryNeeds) {
  const auto process = parseStat(statOf("sshd"));
  ASSERT_TRUE(process);
  EXPECT_EQ(process->pid, 812);
  EXPECT_EQ(process->parent, 799);
  EXPECT_EQ(process->session, 805);
  EXPECT_EQ(process->terminal, 34817);
  EXPECT_EQ(process->name, "sshd");
  EXPECT_EQ(process->startTicks, 26243U);
  EXPECT_EQ(process->codeAddress, 94017221775360U);
  EXPECT_EQ(process->stackAddress, 140730021953472U);
  EXPECT_EQ(process->argumentsBegin, 140730021957601U);
  EXPECT_EQ(process->argumentsEnd, 140730021957628U);
  EXPECT_EQ(process->environmentBegin, 140730021957628U);
  EXPECT_EQ(process->environmentEnd, 140730021957999U);
  EXPECT_FALSE(process->isKernelThread);
  EXPECT_FALSE(process->hasEnded);
}

TEST(ProcessStatTest, ANameMayHoldBlanksBracketsAndLineBreaks) {
  for (const std::string name : {"a b", "a) S 1 1 1", "(", ")", "))((", "a\nb", ") Z 1 (", ""}) {
    const auto process = parseStat(statOf(name));
    ASSERT_TRUE(process) << name;
    EXPECT_EQ(process->name, name);
    EXPECT_EQ(process->parent, 799) << name;
    EXPECT_FALSE(process->hasEnded) << name;
  }
}

TEST(ProcessStatTest, AProcessThatSigkillWasSentToOrThatExitsIsEnding) {
  EXPECT_FALSE(parseStat(statOf("sshd"))->isEnding);
  std::string killed = statOf("sshd");
  killed.replace(killed.find(" 0 0 4096 65536"), 2, " 256");
  EXPECT_TRUE(parseStat(killed)->isEnding) << killed;
  std::string exiting = statOf("sshd");
  exiting.replace(exiting.find("4194560"), 7, "4194564");
  EXPECT_TRUE(parseStat(exiting)->isEnding);
}

TEST(ProcessStatTest, AnythingElseIsNoProcess) {
  for (const std::string line :
       {"", "812", "812 (sshd", "812 (sshd)", "812 (sshd) ", ") (", "(sshd) S 1 1 1",
        "812 (sshd) S 799 812 805 34817 -1 4194560 1053", "x (sshd) S 1 1 1"}) {
    EXPECT_FALSE(parseStat(line)) << line;
  }
}

TEST(ProcessStatTest, AZombieHasEnded) {
  test::ProcTree tree;
  tree.add({.pid = 9, .name = "sshd", .state = 'Z'});
  const auto process = readProcess(tree.paths(), 9);
  ASSERT_TRUE(process);
  EXPECT_TRUE(process->hasEnded);
}

TEST(ProcessStatTest, WhereOnlyItsFirstThreadHasEndedItGoesOnUntilItIsKilled) {
  std::string line = statOf("vi");
  line.replace(line.find(") S"), 3, ") Z");
  line.replace(line.find("4194560"), 7, "4194564");
  ASSERT_TRUE(parseStat(line)->hasEnded);
  line.replace(line.find(" 20 0 1 0 26243"), 7, " 20 0 2");
  EXPECT_FALSE(parseStat(line)->hasEnded);
  EXPECT_FALSE(parseStat(line)->isEnding);
  line.replace(line.find(" 0 0 4096 65536"), 2, " 256");
  EXPECT_TRUE(parseStat(line)->isEnding);
}

TEST(ProcessReadTest, AForkedProcessSharesItsParentsImageUntilItRunsAnotherProgram) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    char byte = 0;
    if (::read(pipe[0], &byte, 1) != 1) ::_exit(1);
    ::execl("/bin/sleep", "sleep", "1000", nullptr);
    ::_exit(1);
  }
  const auto self = readProcess(Paths{}, ::getpid());
  const auto forked = readProcess(Paths{}, child);
  ASSERT_TRUE(self && forked);
  EXPECT_TRUE(shareImage(*self, *forked));
  EXPECT_EQ(::write(pipe[1], "x", 1), 1);
  Process later = *forked;
  while (later.name != "sleep" && !later.hasEnded) {
    const auto now = readProcess(Paths{}, child);
    ASSERT_TRUE(now);
    later = *now;
  }
  EXPECT_FALSE(shareImage(*self, later));
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  for (const int end : pipe) ::close(end);
}

TEST(ProcessReadTest, AProcessThatEndedIsGone) {
  EXPECT_TRUE(isGone(readProcess(test::ProcTree().paths(), 4711)));
}

TEST(ProcessReadTest, AProcessThatCannotBeReadIsAFailureThatNamesIt) {
  test::ProcTree tree;
  tree.add({.pid = 9, .name = "sshd"}).makeUnreadable(9, "stat");
  const auto process = readProcess(tree.paths(), 9);
  ASSERT_TRUE(hasFailed(process));
  EXPECT_NE(causeOf(process).find("/proc/9/stat"), std::string::npos) << causeOf(process);
}

TEST(ProcessReadTest, ALineThatIsNoProcessIsAFailure) {
  test::ProcTree tree;
  tree.add({.pid = 9, .name = "sshd"}).write(9, "stat", "nonsense");
  EXPECT_TRUE(hasFailed(readProcess(tree.paths(), 9)));
}

TEST(ProcessReadTest, ReadsTheRealProc) {
  const auto process = readProcess(Paths{}, ::getpid());
  ASSERT_TRUE(process) << causeOf(process);
  EXPECT_EQ(process->parent, ::getppid());
  EXPECT_EQ(process->session, ::getsid(0));
}

}  // namespace
}  // namespace zevo::connections
