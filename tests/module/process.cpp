#include "module/process.h"

#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace module_test {

namespace {

// The kernel lets the parent continue before the title of the child can be read.
void awaitTitle(pid_t pid) {
  const std::string path = "/proc/" + std::to_string(pid) + "/cmdline";
  std::string title;
  for (int i = 0; title.empty() && i < 1000; ++i) {
    usleep(1000);
    std::getline(std::ifstream(path), title);
  }
  EXPECT_FALSE(title.empty()) << path;
}

}  // namespace

Process::Process(const std::string& title, const std::string& last) {
  int ends[2] = {-1, -1};
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  std::string arguments[] = {title, "-", last};
  // cat waits for the end of its input before it looks at the last argument.
  char* vector[] = {arguments[0].data(), arguments[1].data(),
                    last.empty() ? nullptr : arguments[2].data(), nullptr};
  char* environment[] = {nullptr};
  EXPECT_EQ(posix_spawn(&pid_, "/bin/cat", &actions, nullptr, vector, environment), 0);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[0]);
  input_ = ends[1];
  awaitTitle(pid_);
}

void Process::end() {
  if (input_ != -1) close(input_);
  input_ = -1;
  siginfo_t info;
  waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
}

Process::~Process() {
  end();
  waitpid(pid_, nullptr, 0);
}

}  // namespace module_test
