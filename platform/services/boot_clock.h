// The times of the registry.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "services/paths.h"

namespace zevo::connections {

// Time since the start of the system, including suspended time: the clock of the kernel's process
// start times.
std::chrono::nanoseconds timeSinceBoot();

// When a process started, by that clock; `ticks` is Process::startTicks.
std::chrono::milliseconds startSinceBoot(std::uint64_t ticks);

// Start times of processes. Reads the start of the system at its first use, so that it costs
// nothing if nobody is connected.
class BootClock {
 public:
  explicit BootClock(const Paths& paths);
  BootClock(const BootClock&) = delete;
  BootClock& operator=(const BootClock&) = delete;

  // The start of the system; nothing if unknown.
  [[nodiscard]] std::optional<std::time_t> boot() const;
  // `ticks` is Process::startTicks.
  [[nodiscard]] std::optional<std::time_t> startTime(std::uint64_t ticks) const;
  // Empty if the start of the system is unknown.
  [[nodiscard]] std::string startText(std::uint64_t ticks) const;
  // How long a process had run when this clock was created; negative if it started later.
  [[nodiscard]] std::chrono::milliseconds age(std::uint64_t ticks) const;

 private:
  std::chrono::milliseconds made_;  // since the start of the system
  std::string path_;
  mutable bool isRead_ = false;
  mutable std::optional<std::time_t> boot_;
};

}  // namespace zevo::connections
