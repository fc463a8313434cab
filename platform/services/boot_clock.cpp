#include "services/boot_clock.h"

#include <string_view>
#include <unistd.h>

#include "base/local_time.h"
#include "base/numbers.h"
#include "base/read_file.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kStatLimit = 16UL * 1024 * 1024;  // a line for each of thousands of CPUs

std::uint64_t ticksASecond() {
  static const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
  return ticks;
}

std::optional<std::time_t> parseBootTime(std::string_view stat) {
  constexpr std::string_view kKey = "\nbtime ";
  const std::size_t key = stat.find(kKey);
  if (key == std::string_view::npos) return std::nullopt;
  stat.remove_prefix(key + kKey.size());
  return takeNumber<std::time_t>(stat);
}

}  // namespace

std::chrono::nanoseconds timeSinceBoot() {
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

std::chrono::milliseconds startSinceBoot(std::uint64_t ticks) {
  const std::uint64_t milliseconds =
      ticks / ticksASecond() * 1000 + ticks % ticksASecond() * 1000 / ticksASecond();
  return std::chrono::milliseconds(milliseconds);
}

BootClock::BootClock(const Paths& paths)
    : made_(std::chrono::duration_cast<std::chrono::milliseconds>(timeSinceBoot())),
      path_(paths.proc + "/stat") {}

std::optional<std::time_t> BootClock::boot() const {
  if (!isRead_) {
    isRead_ = true;
    std::string stat;
    if (!readFile(path_, kStatLimit, &stat)) boot_ = parseBootTime(stat);
  }
  return boot_;
}

std::optional<std::time_t> BootClock::startTime(std::uint64_t ticks) const {
  if (!boot()) return std::nullopt;
  return *boot() + static_cast<std::time_t>(ticks / ticksASecond());
}

std::string BootClock::startText(std::uint64_t ticks) const {
  const auto start = startTime(ticks);
  return start ? localTimeText(*start) : std::string();
}

std::chrono::milliseconds BootClock::age(std::uint64_t ticks) const {
  return made_ - startSinceBoot(ticks);
}

}  // namespace zevo::connections
