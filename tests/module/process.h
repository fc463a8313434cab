// A real process with a title of the test's choice, which does nothing.
#pragma once

#include <string>
#include <sys/types.h>

namespace module_test {

class Process {
 public:
  // `title` is its first argument, `last` its last where it is not empty.
  explicit Process(const std::string& title, const std::string& last = "");
  // Ends it and waits for it.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  // Ends it and leaves it as a zombie until the value goes.
  void end();

 private:
  pid_t pid_ = 0;
  int input_ = -1;  // the process ends when this is closed
};

}  // namespace module_test
