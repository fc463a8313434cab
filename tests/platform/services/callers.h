// Calls in processes of their own.
#pragma once

#include <array>
#include <functional>
#include <stdexcept>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zevo::connections::test {

// A door that processes wait at until it is opened, each once all have come.
class Door {
 public:
  Door() {
    if (::pipe(come_.data()) != 0 || ::pipe(open_.data()) != 0) throw std::runtime_error("no pipe");
  }
  ~Door() {
    for (const int end : {come_[0], come_[1], open_[0], open_[1]}) ::close(end);
  }
  Door(const Door&) = delete;
  Door& operator=(const Door&) = delete;

  // In a process that is to wait.
  void come() {
    char byte = 'x';
    static_cast<void>(!::write(come_[1], &byte, 1));
    static_cast<void>(!::read(open_[0], &byte, 1));
  }
  // Waits until `count` have come.
  void await(int count) {
    char byte = 0;
    for (int i = 0; i < count; ++i) static_cast<void>(!::read(come_[0], &byte, 1));
  }
  void open(int count) {
    const std::vector<char> bytes(static_cast<std::size_t>(count), 'x');
    static_cast<void>(!::write(open_[1], bytes.data(), bytes.size()));
  }

 private:
  std::array<int, 2> come_{};
  std::array<int, 2> open_{};
};

// Runs `body` in a child, whose exit status is its result.
inline pid_t start(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  int result = 99;
  try {
    result = body();
  } catch (...) {
  }
  ::_exit(result);
}

// The exit status of a child; above 255 where a signal ended it.
inline int resultOf(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 256 + WTERMSIG(status);
}

}  // namespace zevo::connections::test
