#include "base/tool_run.h"

#include <array>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using ::testing::HasSubstr;

constexpr std::chrono::seconds kHang{120};  // whatever takes longer hangs
constexpr ToolLimits kPatient{.time = kHang};

ToolResult runScript(const std::string& script, const ToolLimits& limits = kPatient) {
  return ToolRun({"/bin/sh", "-c", script}, limits).finish();
}

// With a limit that grows until the tool came as far as the test is about: a busy machine takes
// its time to start it.
template <typename Condition>
ToolResult runUntil(Condition hasComeSoFar, const std::string& script) {
  ToolResult result;
  for (milliseconds limit(200); limit < kHang && !hasComeSoFar(result); limit *= 2) {
    result = runScript(script, {.time = limit});
  }
  return result;
}

bool hasAnswered(const ToolResult& result) {
  return !result.output.empty();
}

bool hasClosedItsOutput(const ToolResult& result) {
  return result.cause.starts_with("did not end");
}

// False also for a zombie, as it stays in a container whose init reaps nothing: it holds no pipe.
bool runs(pid_t pid) {
  const std::string path = "/proc/" + std::to_string(pid) + "/stat";
  const std::string state = testing_support::contentOf(path);
  return !state.empty() && state.find(") Z ") == std::string::npos;
}

TEST(ToolRunTest, GivesTheStandardOutputOfAToolThatSucceeds) {
  const ToolResult result = runScript("echo one; echo two >&2; echo three");
  EXPECT_TRUE(result.complete) << result.cause;
  EXPECT_EQ(result.output, "one\nthree\n");
}

TEST(ToolRunTest, AToolThatFailsIsNotComplete) {
  const ToolResult result = runScript("echo part; exit 3");
  EXPECT_FALSE(result.complete);
  EXPECT_EQ(result.output, "part\n");
  EXPECT_EQ(result.cause, "ended with status 3");
  EXPECT_EQ(runScript("kill -11 $$").cause, "was ended by signal 11");
}

TEST(ToolRunTest, AToolThatIsNotThereIsNotComplete) {
  const ToolResult result = ToolRun({"/nonexistent/tool"}, {}).finish();
  EXPECT_FALSE(result.complete);
  EXPECT_THAT(result.cause, HasSubstr("cannot be started: No such file"));
}

TEST(ToolRunTest, AToolThatNeverAnswersIsEndedAtTheLimit) {
  const ToolResult result = runScript("sleep 1000", {.time = milliseconds(200)});
  EXPECT_FALSE(result.complete);
  EXPECT_THAT(result.cause, HasSubstr("did not answer within"));
}

TEST(ToolRunTest, AToolThatClosesItsOutputAndStaysIsEndedAtTheLimit) {
  const ToolResult result = runUntil(hasClosedItsOutput, "exec >&-; sleep 1000");
  EXPECT_FALSE(result.complete);
  EXPECT_THAT(result.cause, HasSubstr("did not end within"));
}

TEST(ToolRunTest, AnEndlessAnswerIsCutAtTheLimit) {
  const ToolResult result = runScript("while :; do echo xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx; done",
                                      {.time = kHang, .bytes = 100000});
  EXPECT_FALSE(result.complete);
  EXPECT_THAT(result.cause, HasSubstr("more than 100000 bytes"));
}

TEST(ToolRunTest, ALimitEndsTheWholeGroup) {
  const pid_t grandchild = std::stoi(runUntil(hasAnswered, "sleep 1000 & echo $!; wait").output);
  const auto end = steady_clock::now() + kHang;
  while (runs(grandchild) && steady_clock::now() < end) ::usleep(20000);
  EXPECT_FALSE(runs(grandchild));
}

TEST(ToolRunTest, TheToolIsEndedWhereItsOwnerGoes) {
  const auto start = steady_clock::now();
  { const ToolRun run({"/bin/sleep", "1000"}, {}); }
  EXPECT_LT(steady_clock::now() - start, kHang);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left behind";
}

TEST(ToolRunTest, MoreThanAPipefulArrivesWhileOtherWorkGoesOn) {
  ToolRun run({"/bin/sh", "-c", "head -c 5000000 /dev/zero"}, kPatient);
  for (int i = 0; i < 100; ++i) {
    run.drain();
    ::usleep(1000);
  }
  const ToolResult result = run.finish();
  EXPECT_TRUE(result.complete) << result.cause;
  EXPECT_EQ(result.output.size(), 5000000U);
}

TEST(ToolRunTest, TheToolHasACleanEnvironmentAndNoOtherDescriptor) {
  ::setenv("LD_LIBRARY_PATH", "/tmp", 1);
  ::setenv("IFS", "x", 1);
  std::array<int, 2> inherited{};
  ASSERT_EQ(::pipe(inherited.data()), 0);  // not close-on-exec
  const ToolResult environment = ToolRun({"/usr/bin/env"}, kPatient).finish();
  const ToolResult descriptors = ToolRun({"/bin/ls", "/proc/self/fd"}, kPatient).finish();
  const ToolResult targets =
      ToolRun({"/bin/readlink", "/proc/self/fd/0", "/proc/self/fd/2"}, kPatient).finish();
  ::close(inherited[0]);
  ::close(inherited[1]);
  ::unsetenv("LD_LIBRARY_PATH");
  ::unsetenv("IFS");
  EXPECT_EQ(environment.output, "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLC_ALL=C\n");
  EXPECT_EQ(descriptors.output, "0\n1\n2\n3\n") << "3 is the folder that ls reads";
  EXPECT_EQ(targets.output, "/dev/null\n/dev/null\n");
}

// A hexadecimal mask of signals out of the tool's own status.
std::uint64_t signalMask(const std::string& status, const std::string& key) {
  return std::stoull(status.substr(status.find(key) + key.size()), nullptr, 16);
}

TEST(ToolRunTest, TheToolHasDefaultSignalActions) {
  sigset_t blocked;
  sigset_t before;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGTERM);
  ::sigprocmask(SIG_BLOCK, &blocked, &before);
  auto* const oldAction = ::signal(SIGPIPE, SIG_IGN);
  const ToolResult result = ToolRun({"/bin/cat", "/proc/self/status"}, kPatient).finish();
  ::signal(SIGPIPE, oldAction);
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(signalMask(result.output, "SigBlk:\t"), 0U);
  EXPECT_EQ(signalMask(result.output, "SigIgn:\t") & 0x7FFFFFFFU, 0U) << "of signals 1 to 31";
}

TEST(ToolRunTest, TheToolLeadsAGroupOfItsOwn) {
  const ToolResult result =
      ToolRun({"/usr/bin/cut", "-d ", "-f1,5", "/proc/self/stat"}, kPatient).finish();
  const std::size_t blank = result.output.find(' ');
  ASSERT_NE(blank, std::string::npos);
  EXPECT_EQ(result.output,
            result.output.substr(0, blank) + " " + result.output.substr(0, blank) + "\n");
}

// Leaves room for the two ends of a pipe and no further descriptor.
class FewDescriptors {
 public:
  FewDescriptors() {
    ::getrlimit(RLIMIT_NOFILE, &before_);
    const int lowest = ::dup(STDIN_FILENO);
    ::close(lowest);
    const rlimit few{static_cast<rlim_t>(lowest) + 2, before_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit before_{};
};

TEST(ToolRunTest, KeepsTheLimitWhereNoDescriptorStandsForTheTool) {
  const FewDescriptors few;
  const ToolResult quick = runScript("ulimit -n 100; echo text; exec >&-; sleep 0.05");
  EXPECT_TRUE(quick.complete) << quick.cause;
  EXPECT_EQ(quick.output, "text\n");
  EXPECT_THAT(runUntil(hasClosedItsOutput, "ulimit -n 100; exec >&-; sleep 1000").cause,
              HasSubstr("did not end within"));
  EXPECT_THAT(runScript("exit 3").cause, HasSubstr("status 3"));
}

TEST(ToolRunTest, WorksWhereTheHostIgnoresItsChildren) {
  auto* const oldAction = ::signal(SIGCHLD, SIG_IGN);
  const ToolResult quick = runScript("echo text");
  const ToolResult slow = runScript("echo text; exec >&-; sleep 0.1");
  const ToolResult never = runScript("sleep 1000", {.time = milliseconds(100)});
  ::signal(SIGCHLD, oldAction);
  EXPECT_TRUE(quick.complete) << quick.cause;
  EXPECT_EQ(quick.output, "text\n");
  EXPECT_TRUE(slow.complete) << slow.cause;
  EXPECT_FALSE(never.complete);
}

void reapEverything(int /*signal*/) {
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

TEST(ToolRunTest, WorksWhereTheHostReapsEveryChildItself) {
  auto* const oldAction = ::signal(SIGCHLD, reapEverything);
  const ToolResult result = runScript("echo text; sleep 0.1; echo more");
  ::signal(SIGCHLD, oldAction);
  EXPECT_TRUE(result.complete) << result.cause;
  EXPECT_EQ(result.output, "text\nmore\n");
}

}  // namespace
}  // namespace zevo
