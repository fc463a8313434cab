// One process, as its line in /proc/PID/stat shows it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "sdk/connections/outcome.h"
#include "sdk/connections/paths.h"

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
  bool isKernelThread = false;
  bool hasEnded = false;  // a zombie: it serves nothing, though its pid is still taken
};

// Parses a line of /proc/PID/stat, whose name may hold blanks, brackets and line breaks. Nothing
// where it is no such line.
std::optional<Process> parseStat(std::string_view line);

// Reads the process `pid` under the open folder `proc`.
Reading<Process> readProcess(int proc, pid_t pid);
// The same by path.
Reading<Process> readProcess(const Paths& paths, pid_t pid);

}  // namespace zevo::connections
