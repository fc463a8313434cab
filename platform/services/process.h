// One process, from its line in /proc/PID/stat.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "services/gone.h"
#include "services/paths.h"

namespace zevo::connections {

// The largest pid of Linux (PID_MAX_LIMIT).
inline constexpr pid_t kPidMax = 4194304;

struct Process {
  pid_t pid = 0;
  pid_t parent = 0;
  pid_t session = 0;             // pid of the session's leader
  std::int32_t terminal = 0;     // device number as proc(5) encodes it; 0 without a terminal
  std::string name;              // any bytes, at most 15; chosen by the process
  std::uint64_t startTicks = 0;  // since the start of the system, in clock ticks
  // Addresses of the program that the process runs; 0 if the reader may not see them.
  std::uint64_t codeAddress = 0;
  std::uint64_t stackAddress = 0;
  // Addresses of its arguments and environment; 0 as above.
  std::uint64_t argumentsBegin = 0;
  std::uint64_t argumentsEnd = 0;
  std::uint64_t environmentBegin = 0;
  std::uint64_t environmentEnd = 0;
  bool isKernelThread = false;
  // All its threads have ended: it serves nothing, although its pid is still in use. If only its
  // first thread has ended, it continues, without the addresses above.
  bool hasEnded = false;
  bool isEnding = false;  // SIGKILL was sent to it, or it is exiting: soon a zombie
};

// Whether one of two processes was forked from the other, or both from a third, and neither has
// executed another program since. The kernel randomises both addresses for each program that it
// starts, and shows those of a service only to root.
bool shareImage(const Process& a, const Process& b);

// Parses a line of /proc/PID/stat, whose name may contain spaces, brackets and line breaks. Nothing
// if the line is malformed.
std::optional<Process> parseStat(std::string_view line);

// Reads the process `pid` in the open directory `proc`.
Result<Process> readProcess(int proc, pid_t pid);
// The same by path.
Result<Process> readProcess(const Paths& paths, pid_t pid);

}  // namespace zevo::connections
