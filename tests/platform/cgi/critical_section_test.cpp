#include <array>
#include <chrono>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/cgi.h"
#include "zevo/error.h"

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using std::chrono::steady_clock;
using testing_support::TemporaryFolder;

constexpr std::chrono::seconds kHang{120};  // whatever takes longer hangs

class CriticalSectionTest : public testing::Test {
 protected:
  int enter(int wait) const { return ZevoCgiBeginCriticalSection(lock_.c_str(), wait); }

  // Starts a process that enters the section and then `behaves`; returns when it has entered.
  template <typename Behaviour>
  pid_t startHolder(Behaviour behave) const {
    std::array<int, 2> ready{};
    EXPECT_EQ(::pipe(ready.data()), 0);
    const pid_t holder = ::fork();
    if (holder == 0) {
      const int handle = enter(1000);
      if (handle < 0 || ::write(ready[1], "", 1) != 1) ::_exit(1);
      behave(handle);
      ::_exit(0);
    }
    char byte = 0;
    EXPECT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    ::close(ready[1]);
    return holder;
  }

  TemporaryFolder folder_;
  const std::string lock_ = folder_.file("sessions.lock");
};

TEST_F(CriticalSectionTest, IsEnteredByOneProcessAtATime) {
  const pid_t holder = startHolder([](int) { ::pause(); });
  const auto start = steady_clock::now();
  EXPECT_EQ(enter(60), -1);
  EXPECT_LT(steady_clock::now() - start, kHang);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_SYSTEM);
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
}

TEST_F(CriticalSectionTest, IsGivenBackWhenItsHolderDies) {
  const pid_t holder = startHolder([](int) { ::pause(); });
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  const int handle = enter(0);
  EXPECT_GE(handle, 0);
  ZevoCgiEndCriticalSection(handle);
}

TEST_F(CriticalSectionTest, IsEnteredAsSoonAsTheHolderLeaves) {
  const pid_t holder = startHolder([](int handle) {
    ::usleep(100000);
    ZevoCgiEndCriticalSection(handle);
    ::pause();
  });
  const auto start = steady_clock::now();
  const int handle = enter(1000000);
  EXPECT_GE(handle, 0);
  EXPECT_LT(steady_clock::now() - start, kHang);
  ZevoCgiEndCriticalSection(handle);
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
}

TEST_F(CriticalSectionTest, IsNotHeldByAProgramThatTheHolderStarts) {
  const int handle = enter(0);
  ASSERT_GE(handle, 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/sleep", "sleep", "60", nullptr);
    ::_exit(127);
  }
  // Until the child has become another program, it holds the section as well.
  const std::string program = "/proc/" + std::to_string(child) + "/comm";
  while (testing_support::contentOf(program) != "sleep\n") ::usleep(1000);
  ZevoCgiEndCriticalSection(handle);
  const int again = enter(0);
  EXPECT_GE(again, 0);
  ZevoCgiEndCriticalSection(again);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
}

TEST_F(CriticalSectionTest, LocksAFileThatNobodyElseCanOpen) {
  folder_.write("sessions.lock", "");
  std::filesystem::permissions(lock_, std::filesystem::perms::all);
  const int handle = enter(0);
  ASSERT_GE(handle, 0);
  struct stat status {};
  ASSERT_EQ(::stat(lock_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  ZevoCgiEndCriticalSection(handle);
}

TEST_F(CriticalSectionTest, IsNotEnteredThroughWhatOthersMade) {
  std::filesystem::create_symlink(folder_.file("elsewhere"), lock_);
  EXPECT_EQ(enter(0), -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
  EXPECT_FALSE(std::filesystem::exists(folder_.file("elsewhere")));
  std::filesystem::remove(lock_);
  ASSERT_EQ(::mkfifo(lock_.c_str(), 0600), 0);
  EXPECT_EQ(enter(0), -1);
  std::filesystem::remove(lock_);
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  folder_.write("sessions.lock", "");
  ASSERT_EQ(::chown(lock_.c_str(), 12, 12), 0);
  EXPECT_EQ(enter(0), -1);
}

TEST_F(CriticalSectionTest, TriesOnceWithoutTimeToWait) {
  const int handle = enter(-5);
  EXPECT_GE(handle, 0);
  EXPECT_EQ(enter(-5), -1);
  ZevoCgiEndCriticalSection(handle);
  ZevoCgiEndCriticalSection(-1);
}

TEST(CgiContext, HoldsTheLockFileBesideTheSessionFile) {
  ZEVO_CGI cgi;
  ZevoCgiInit("", &cgi);
  EXPECT_STREQ(cgi.lock, "/run/currentconn/sessions.lock");
  ZevoCgiInit(nullptr, &cgi);
  EXPECT_STREQ(cgi.lock, "/run/currentconn/sessions.lock");
  ZevoCgiInit("/srv/s", &cgi);
  EXPECT_STREQ(cgi.lock, "/srv/s.lock");
}

TEST(CgiContext, HoldsNoLockWhosePathDoesNotFit) {
  ZEVO_CGI cgi;
  ZevoCgiInit(("/" + std::string(PATH_MAX, 'x')).c_str(), &cgi);
  EXPECT_STREQ(cgi.lock, "");
  EXPECT_EQ(ZevoCgiBeginCriticalSection(cgi.lock, 0), -1);
  EXPECT_EQ(ZevoCgiBeginCriticalSection(nullptr, 0), -1);
}

}  // namespace
}  // namespace zevo
