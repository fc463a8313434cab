#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "services/process_files.h"

namespace zevo::connections {
namespace {

// A child that waits until it is told to continue with `then`, and ends with the test.
class WaitingChild {
 public:
  template <typename Then>
  explicit WaitingChild(Then then) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    pid_ = ::fork();
    if (pid_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      char byte = 0;
      if (::read(ends[0], &byte, 1) == 1) then();
      ::pause();
    }
    ::close(ends[0]);
    go_ = FileDescriptor(ends[1]);
  }
  ~WaitingChild() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  WaitingChild(const WaitingChild&) = delete;
  WaitingChild& operator=(const WaitingChild&) = delete;

  // Returns once its title, as the kernel tells it, is `title`.
  void goOn(const std::string& title) const {
    if (::write(go_.get(), "g", 1) != 1) std::abort();
    const auto files = ProcessFiles::open(Paths{}, pid_);
    while (files->title()->all != title) ::sched_yield();
  }
  [[nodiscard]] pid_t pid() const { return pid_; }

 private:
  FileDescriptor go_;
  pid_t pid_ = 0;
};

Title titleInMemory(pid_t pid) {
  const auto files = ProcessFiles::open(Paths{}, pid);
  const auto process = readProcess(Paths{}, pid);
  const auto title = files->titleIn(files->memory(), *process);
  EXPECT_TRUE(title) << causeOf(title);
  return title ? *title : Title{"failure", "failure"};
}

TEST(TitlesInMemoryTest, AreThoseThatTheKernelTells) {
  const auto files = ProcessFiles::openOwn(Paths{});
  EXPECT_EQ(titleInMemory(::getpid()).all, files->title()->all);
  const WaitingChild child([] { ::execl("/bin/sleep", "a title", "1000", nullptr); });
  child.goOn("a title 1000");
  EXPECT_EQ(titleInMemory(child.pid()).first, "a title");
  EXPECT_EQ(titleInMemory(child.pid()).all, "a title 1000");
}

TEST(TitlesInMemoryTest, MayGoOnInTheEnvironment) {
  const auto writeTitle = [] {
    const auto own = readProcess(Paths{}, ::getpid());
    auto* begin = reinterpret_cast<char*>(own->argumentsBegin);
    const std::size_t size = own->argumentsEnd - own->argumentsBegin + 3;
    std::fill_n(begin, size, 'x');
    begin[size] = '\0';
  };
  const auto own = readProcess(Paths{}, ::getpid());
  const std::string longTitle(own->argumentsEnd - own->argumentsBegin + 3, 'x');
  ASSERT_GT(own->environmentEnd, own->environmentBegin + 4);
  const WaitingChild child(writeTitle);
  child.goOn(longTitle);
  EXPECT_EQ(titleInMemory(child.pid()).first, longTitle);
}

TEST(TitlesInMemoryTest, AreNotThoseOfAProgramThatBeganAfterThat) {
  const WaitingChild child([] { ::execl("/bin/sleep", "another", "1000", nullptr); });
  const auto files = ProcessFiles::open(Paths{}, child.pid());
  const FileDescriptor memory = files->memory();
  const auto process = readProcess(Paths{}, child.pid());
  child.goOn("another 1000");
  const auto title = files->titleIn(memory, *process);
  ASSERT_TRUE(title) << causeOf(title);
  EXPECT_EQ(title->first, "");
}

TEST(TitlesInMemoryTest, AreGoneWithTheirProcess) {
  ProcessFiles files;
  FileDescriptor memory;
  Process process;
  {
    const WaitingChild child([] {});
    files = std::move(*ProcessFiles::open(Paths{}, child.pid()));
    memory = files.memory();
    process = *readProcess(Paths{}, child.pid());
  }
  EXPECT_TRUE(isGone(files.titleIn(memory, process)));
}

}  // namespace
}  // namespace zevo::connections
