// Runs a service's own tool.
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
  bool complete = false;  // the tool exited, with status 0 if that can be known
  bool isLate = false;    // it did not end within its time
  std::string output;     // its standard output, even if incomplete
  std::string cause;      // why it is incomplete: "did not answer within 10 s"
};

// The tool runs in its own process group with an empty signal mask, default signal actions, a fixed
// environment (PATH and LC_ALL=C), /dev/null for standard input and error, and no other descriptor
// of this process. It is ended with its whole group if it exceeds a limit, or by the destructor.
// Works with any handling of SIGCHLD in the host; if the host reaps the tool, its status is unknown
// and counts as 0.
class ToolRun {
 public:
  // Starts the program `arguments[0]`, an absolute path. finish() reports a failed start.
  ToolRun(const std::vector<std::string>& arguments, const ToolLimits& limits);
  ~ToolRun();
  ToolRun(ToolRun&& other) noexcept;
  ToolRun& operator=(ToolRun&&) = delete;
  ToolRun(const ToolRun&) = delete;
  ToolRun& operator=(const ToolRun&) = delete;

  // Reads what the tool has written so far, without waiting. Call it from time to time during other
  // work, so that the tool never waits for us.
  void drain();
  // Waits until the tool has ended or exceeds a limit. Call it once.
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
  FileDescriptor ended_;   // pidfd; none if it was refused
  FileDescriptor output_;  // read end of its standard output; none after its end
  ToolResult result_;
};

}  // namespace zevo
