// One run of a service's own tool.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "base/file_descriptor.h"

namespace zevo {

struct ToolLimits {
  std::chrono::milliseconds time{10000};
  std::size_t bytes = 64UL * 1024 * 1024;
};

struct ToolResult {
  bool complete = false;  // the tool ended by itself, with status 0 as far as that can be known
  bool isLate = false;    // it did not end within its time
  std::string output;     // its standard output, also where it is not complete
  std::string cause;      // why it is not complete: "did not answer within 10 s"
};

// The tool runs as a process group of its own with an empty signal mask, default signal actions, a
// fixed environment (PATH and LC_ALL=C), /dev/null for standard input and error, and no other
// descriptor of this process. It is ended with its whole group where it passes a limit or its owner
// goes. Works whatever the host does about SIGCHLD; where the host reaps the tool, its status is
// not known and counts as 0.
class ToolRun {
 public:
  // Starts the program `arguments[0]`, an absolute path. A start that fails shows in finish().
  ToolRun(const std::vector<std::string>& arguments, const ToolLimits& limits);
  ~ToolRun();
  ToolRun(ToolRun&& other) noexcept;
  ToolRun& operator=(ToolRun&&) = delete;
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;

  // Takes what the tool has written so far, without waiting. Called now and then while other work
  // goes on, so that the tool never waits for us.
  void drain();
  // Waits until the tool has ended or passes a limit. Once.
  ToolResult finish();

 private:
  using Clock = std::chrono::steady_clock;

  void start(const std::vector<std::string>& arguments);
  void endGroup() noexcept;
  bool waitFor(const FileDescriptor& descriptor) const;
  bool waitForEnd() const;
  void awaitEnd();
  std::optional<int> reap(int flags) noexcept;

  ToolLimits limits_;
  Clock::time_point deadline_;
  pid_t pid_ = -1;         // -1: not started, or ended and reaped
  FileDescriptor ended_;   // pidfd; none where it was refused
  FileDescriptor output_;  // read end of its standard output; none after its end
  ToolResult result_;
};

}  // namespace zevo
