// One process, as its line in /proc/PID/stat shows it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "services/gone.h"
#include "services/paths.h"

namespace zevo::connections {

// Largest pid that Linux gives (PID_MAX_LIMIT).
inline constexpr pid_t kPidMax = 4194304;

struct Process {
  pid_t pid = 0;
  pid_t parent = 0;
  pid_t session = 0;             // pid of the session's leader
  std::int32_t terminal = 0;     // device number as proc(5) encodes it; 0 without a terminal
  std::string name;              // any bytes, 15 at most; a process chooses its own
  std::uint64_t startTicks = 0;  // since the start of the system, in clock ticks
  // Where the kernel laid out the program that the process runs; 0 where the reader may not know.
  std::uint64_t codeAddress = 0;
  std::uint64_t stackAddress = 0;
  // Where its arguments and its environment stand in its memory; 0 as above.
  std::uint64_t argumentsBegin = 0;
  std::uint64_t argumentsEnd = 0;
  std::uint64_t environmentBegin = 0;
  std::uint64_t environmentEnd = 0;
  bool isKernelThread = false;
  // A zombie with all its threads: it serves nothing, though its pid is still taken. Where its
  // first thread alone has ended it goes on, without the addresses above.
  bool hasEnded = false;
  bool isEnding = false;  // SIGKILL was sent to it, or it exits: it is a zombie soon
};

// Whether one of two processes was forked from the other, or both from a third, and neither has run
// another program since. The kernel chooses both addresses at random for each program that it
// starts, and shows those of a service to nobody but root.
bool shareImage(const Process& a, const Process& b);

// Parses a line of /proc/PID/stat, whose name may hold blanks, brackets and line breaks. Nothing
// where it is no such line.
std::optional<Process> parseStat(std::string_view line);

// Reads the process `pid` under the open folder `proc`.
Result<Process> readProcess(int proc, pid_t pid);
// The same by path.
Result<Process> readProcess(const Paths& paths, pid_t pid);

}  // namespace zevo::connections
