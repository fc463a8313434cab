// Times as the registry writes them.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "services/paths.h"

namespace zevo::connections {

// Time since the start of the system, including that in which it slept: the clock by which the
// kernel dates processes.
std::chrono::nanoseconds timeSinceBoot();

// When a process started, by that clock; `ticks` is Process::startTicks.
std::chrono::milliseconds startSinceBoot(std::uint64_t ticks);

// When processes started. Reads the start of the system at its first use, so it costs nothing
// where nobody is connected.
class BootClock {
 public:
  explicit BootClock(const Paths& paths);
  BootClock(const BootClock&) = delete;
  BootClock& operator=(const BootClock&) = delete;

  // Start of the system; nothing where it is not known.
  [[nodiscard]] std::optional<std::time_t> boot() const;
  // `ticks` is Process::startTicks.
  [[nodiscard]] std::optional<std::time_t> startTime(std::uint64_t ticks) const;
  // Empty where the start of the system is not known.
  [[nodiscard]] std::string startText(std::uint64_t ticks) const;
  // How long a process has run when this clock was made; below 0 where it started later.
  [[nodiscard]] std::chrono::milliseconds age(std::uint64_t ticks) const;

 private:
  std::chrono::milliseconds made_;  // since the start of the system
  std::string path_;
  mutable bool isRead_ = false;
  mutable std::optional<std::time_t> boot_;
};

}  // namespace zevo::connections
