#include "services/process_files.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;

using std::string_literals::operator""s;

class ProcessFilesTest : public ::testing::Test {
 protected:
  ProcessFiles open(const test::FakeProcess& process) {
    tree_.add(process);
    auto files = ProcessFiles::open(tree_.paths(), process.pid);
    EXPECT_TRUE(files) << causeOf(files);
    return std::move(*files);
  }

  test::ProcTree tree_;
};

TEST_F(ProcessFilesTest, TellsTheFirstArgumentFromAll) {
  const auto title = open({.pid = 9, .name = "smbd", .cmdline = "smbd\0-D\0--x=a b\0"s}).title();
  ASSERT_TRUE(title);
  EXPECT_EQ(title->first, "smbd");
  EXPECT_EQ(title->all, "smbd -D --x=a b");
}

TEST_F(ProcessFilesTest, ATitleEndsBeforeTheNulsThatItsServiceLeftBehindIt) {
  const auto title =
      open({.pid = 9, .name = "sshd", .cmdline = "sshd: a@pts/3\0\0\0\0\0"s}).title();
  ASSERT_TRUE(title);
  EXPECT_EQ(title->first, "sshd: a@pts/3");
  EXPECT_EQ(title->all, "sshd: a@pts/3");
}

TEST_F(ProcessFilesTest, AnEmptyTitleIsAnEmptyText) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd"});
  tree_.write(9, "cmdline", "");
  ASSERT_TRUE(files.title());
  EXPECT_EQ(files.title()->first, "");
}

TEST_F(ProcessFilesTest, AnEndlessTitleIsCut) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd", .cmdline = std::string(100000, 'x')});
  ASSERT_TRUE(files.title());
  EXPECT_EQ(files.title()->first.size(), 4095U);
}

TEST_F(ProcessFilesTest, TellsTheThreeUserIdsApart) {
  const auto ids = open({.pid = 9, .name = "proftpd", .uids = "1\t65534\t0\t65534"}).userIds();
  ASSERT_TRUE(ids);
  EXPECT_EQ(ids->real, 1U);
  EXPECT_EQ(ids->effective, 65534U);
  EXPECT_EQ(ids->saved, 0U);
}

TEST_F(ProcessFilesTest, TellsTheThreeGroupIdsFromTheUserIds) {
  const auto ids =
      open({.pid = 9, .name = "afpd", .uids = "1\t2\t3\t4", .gids = "0\t1001\t5\t1001"}).groupIds();
  ASSERT_TRUE(ids);
  EXPECT_EQ(ids->real, 0U);
  EXPECT_EQ(ids->effective, 1001U);
  EXPECT_EQ(ids->saved, 5U);
}

TEST_F(ProcessFilesTest, TellsWhoLoggedIn) {
  const ProcessFiles files = open({.pid = 9, .name = "bash"});
  tree_.write(9, "loginuid", "1002");
  EXPECT_EQ(*files.loginUid(), std::optional<uid_t>(1002));
  tree_.write(9, "loginuid", "0");
  EXPECT_EQ(*files.loginUid(), std::optional<uid_t>(0));
}

TEST_F(ProcessFilesTest, NobodyLoggedInWhereTheKernelHasNoLogin) {
  const ProcessFiles files = open({.pid = 9, .name = "telnetd"});
  EXPECT_EQ(*files.loginUid(), std::nullopt);
  for (const char* text : {"4294967295", "", "x", "99999999999"}) {
    tree_.write(9, "loginuid", text);
    ASSERT_TRUE(files.loginUid()) << text;
    EXPECT_EQ(*files.loginUid(), std::nullopt) << text;
  }
}

TEST_F(ProcessFilesTest, AStatusWithoutUserIdsIsAFailure) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd"});
  for (const char* status :
       {"", "Name:\tsshd\n", "Name:\tsshd\nUid:\t1\t2\n", "Name:\tUid:\t0\t0\t0\n"}) {
    tree_.write(9, "status", status);
    EXPECT_TRUE(hasFailed(files.userIds())) << status;
    EXPECT_TRUE(hasFailed(files.groupIds())) << status;
  }
}

TEST_F(ProcessFilesTest, ReadsWorkingDirectoryAndRoot) {
  const ProcessFiles files =
      open({.pid = 9, .name = "vsftpd", .cwd = "/srv/a b (deleted)", .root = "/srv"});
  EXPECT_EQ(*files.workingDirectory(), "/srv/a b (deleted)");
  EXPECT_EQ(*files.root(), "/srv");
}

// A process of our own in a directory that no path can name, which it removes again in the end.
class DeepProcess {
 public:
  explicit DeepProcess(const std::string& top) {
    std::array<int, 2> ready{};
    if (::pipe(ready.data()) != 0 || ::pipe(rest_.data()) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) ::_exit(run(top, ready[1]));
    ::close(ready[1]);
    ::close(rest_[0]);
    char byte = 0;
    isThere_ = ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
  }
  ~DeepProcess() {
    ::close(rest_[1]);
    int status = -1;
    ::waitpid(pid_, &status, 0);
    EXPECT_EQ(status, 0);
  }
  DeepProcess(const DeepProcess&) = delete;
  DeepProcess& operator=(const DeepProcess&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  [[nodiscard]] bool isThere() const { return isThere_; }

 private:
  int run(const std::string& top, int ready) {
    const std::string step(200, 'd');
    constexpr int kSteps = 25;
    bool done = ::chdir(top.c_str()) == 0;
    for (int i = 0; i < kSteps && done; ++i) {
      done = ::mkdir(step.c_str(), 0700) == 0 && ::chdir(step.c_str()) == 0;
    }
    ::close(rest_[1]);
    char byte = 0;
    done = done && ::write(ready, &byte, 1) == 1 && ::read(rest_[0], &byte, 1) == 0;
    for (int i = 0; i < kSteps && done; ++i)
      done = ::chdir("..") == 0 && ::rmdir(step.c_str()) == 0;
    return done ? 0 : 1;
  }

  std::array<int, 2> rest_{};
  pid_t pid_ = -1;
  bool isThere_ = false;
};

TEST_F(ProcessFilesTest, AWorkingDirectoryThatNoPathCanNameIsNoFailure) {
  const DeepProcess process(tree_.folder());
  ASSERT_TRUE(process.isThere());
  const auto files = ProcessFiles::open(Paths(), process.pid());
  ASSERT_TRUE(files);
  const auto folder = files->workingDirectory();
  ASSERT_TRUE(folder) << causeOf(folder);
  EXPECT_EQ(*folder, "directory not known");
}

TEST_F(ProcessFilesTest, ListsSocketsByDescriptor) {
  const ProcessFiles files =
      open({.pid = 9, .name = "smbd", .sockets = {{10, 7001}, {3, 7002}, {0, 7003}}});
  for (const auto& [name, target] : {std::pair{"1", "/dev/null"},
                                     {"2", "pipe:[5]"},
                                     {"4", "socket:[x]"},
                                     {"5", "socket:[5"},
                                     {"6", "/tmp/socket:[5]"}}) {
    ASSERT_EQ(::symlink(target, (tree_.paths().proc + "/9/fd/" + name).c_str()), 0);
  }
  const auto sockets = files.sockets(100);
  ASSERT_TRUE(sockets) << causeOf(sockets);
  EXPECT_THAT(sockets->sockets, ElementsAre(SocketDescriptor{0, 7003}, SocketDescriptor{3, 7002},
                                            SocketDescriptor{10, 7001}));
}

TEST_F(ProcessFilesTest, TellsASetuidProgram) {
  EXPECT_TRUE(*open({.pid = 9, .name = "sshd", .setuid = true}).isSetuidProgram());
  EXPECT_FALSE(*open({.pid = 10, .name = "sshd"}).isSetuidProgram());
}

TEST_F(ProcessFilesTest, TellsAProgramFromOthersOfItsName) {
  const std::string program = tree_.file("usr/server", "x");
  const std::string other = tree_.file("tmp/server", "x");
  const ProcessFiles files = open({.pid = 9, .name = "server", .exe = program});
  EXPECT_TRUE(*files.runs(program));
  EXPECT_FALSE(*files.runs(other));
  EXPECT_FALSE(*files.runs(tree_.folder() + "/missing"));
}

TEST_F(ProcessFilesTest, TellsItsChildrenAndTheSignalsThatItHandles) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd", .handledSignals = 1U << 14U});
  EXPECT_TRUE(files.children()->empty());
  tree_.add({.pid = 10, .parent = 9, .name = "sshd"});
  tree_.add({.pid = 11, .parent = 9, .name = "sshd", .state = 'Z'});
  EXPECT_EQ(*files.children(), (std::vector<pid_t>{10, 11}));
  EXPECT_TRUE(*files.handles(SIGTERM));
  EXPECT_FALSE(*files.handles(SIGINT));
  tree_.write(9, "status", "Name:\tsshd\n");
  EXPECT_TRUE(hasFailed(files.handles(SIGTERM)));
}

TEST_F(ProcessFilesTest, EveryReadingOfAnEndedProcessIsGone) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd"});
  tree_.remove(9);
  EXPECT_TRUE(isGone(files.title()));
  EXPECT_TRUE(isGone(files.userIds()));
  EXPECT_TRUE(isGone(files.groupIds()));
  EXPECT_TRUE(isGone(files.children()));
  EXPECT_TRUE(isGone(files.handles(SIGTERM)));
  EXPECT_TRUE(isGone(files.workingDirectory()));
  EXPECT_TRUE(isGone(files.root()));
  EXPECT_TRUE(isGone(files.sockets(100)));
  EXPECT_TRUE(isGone(files.isSetuidProgram()));
  EXPECT_TRUE(isGone(files.runs("/bin/true")));
  EXPECT_TRUE(isGone(ProcessFiles::open(tree_.paths(), 9)));
}

TEST_F(ProcessFilesTest, EveryReadingThatIsRefusedIsAFailureThatNamesTheFile) {
  const ProcessFiles files = open({.pid = 9, .name = "sshd"});
  for (const char* name : {"cmdline", "status", "fd", "exe"}) tree_.makeUnreadable(9, name);
  EXPECT_NE(causeOf(files.title()).find("/proc/9/cmdline"), std::string::npos);
  EXPECT_NE(causeOf(files.userIds()).find("/proc/9/status"), std::string::npos);
  EXPECT_NE(causeOf(files.sockets(100)).find("/proc/9/fd"), std::string::npos);
  EXPECT_NE(causeOf(files.isSetuidProgram()).find("/proc/9/exe"), std::string::npos);
}

// A child whose first thread has ended while another one continues, as /proc shows it by now.
pid_t forkWithoutFirstThread() {
  const pid_t child = ::fork();
  if (child == 0) {
    std::thread([] { ::pause(); }).detach();
    ::syscall(SYS_exit, 0);  // of this thread alone
  }
  const std::string root = "/proc/" + std::to_string(child) + "/root";
  std::array<char, 2> target{};
  while (::readlink(root.c_str(), target.data(), target.size()) > 0) ::sched_yield();
  return child;
}

TEST(ProcessFilesOfThreadsTest, WhatEndsWithTheFirstThreadIsThatOfAnother) {
  const pid_t child = forkWithoutFirstThread();
  const auto files = ProcessFiles::open(Paths{}, child);
  const auto ours = ProcessFiles::openOwn(Paths{});
  ASSERT_TRUE(files && ours);
  EXPECT_EQ(*files->namespaces(), *ours->namespaces());
  EXPECT_EQ(*files->root(), *ours->root());
  EXPECT_EQ(*files->workingDirectory(), *ours->workingDirectory());
  EXPECT_EQ(files->title()->all, ours->title()->all);
  EXPECT_EQ(*files->mounts(), *ours->mounts());
  EXPECT_EQ(*files->cgroups(), *ours->cgroups());
  EXPECT_EQ(files->userIds()->real, ::getuid());
  EXPECT_EQ(*files->namespaceNumber("user"), *ours->namespaceNumber("user"));
  EXPECT_TRUE(*files->runs("/proc/self/exe"));
  EXPECT_GT(files->sockets(3)->looks, 0U);
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(isGone(files->root()));
}

TEST_F(ProcessFilesTest, LooksAtTheLowestDescriptorsOfARealProcess) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  std::vector<FileDescriptor> others;
  for (int i = 0; i < 20; ++i) others.emplace_back(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
  const auto files = ProcessFiles::open(Paths{}, ::getpid());
  ASSERT_TRUE(files);
  const auto all = files->sockets(1000);
  const auto some = files->sockets(static_cast<std::size_t>(others[9].get()));
  ASSERT_TRUE(all && some) << causeOf(all) << causeOf(some);
  ASSERT_LT(some->sockets.size(), all->sockets.size());
  ASSERT_GE(some->sockets.size(), 5U);
  EXPECT_TRUE(std::equal(some->sockets.begin(), some->sockets.end(), all->sockets.begin()));
  EXPECT_TRUE(some->hasMore);
  EXPECT_EQ(some->looks, static_cast<std::size_t>(others[9].get()));
  EXPECT_FALSE(all->hasMore);
  EXPECT_FALSE(files->sockets(all->looks)->hasMore);
}

TEST_F(ProcessFilesTest, ReadsASocketOfARealProcess) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  struct stat status {};
  ASSERT_EQ(::fstat(socket.get(), &status), 0);
  const auto files = ProcessFiles::open(Paths{}, ::getpid());
  ASSERT_TRUE(files);
  const auto sockets = files->sockets(100);
  ASSERT_TRUE(sockets) << causeOf(sockets);
  EXPECT_THAT(sockets->sockets, ::testing::Contains(SocketDescriptor{socket.get(), status.st_ino}));
}

}  // namespace
}  // namespace zevo::connections
