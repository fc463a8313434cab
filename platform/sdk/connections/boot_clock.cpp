#include "sdk/connections/boot_clock.h"

#include <array>
#include <charconv>
#include <string_view>
#include <unistd.h>

#include "base/read_file.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kStatLimit = 16UL * 1024 * 1024;  // a line for each of thousands of CPUs

std::optional<std::time_t> parseBootTime(std::string_view stat) {
  constexpr std::string_view kKey = "\nbtime ";
  const std::size_t key = stat.find(kKey);
  if (key == std::string_view::npos) return std::nullopt;
  std::time_t boot = 0;
  const char* digits = stat.data() + key + kKey.size();
  if (std::from_chars(digits, stat.data() + stat.size(), boot).ec != std::errc()) {
    return std::nullopt;
  }
  return boot;
}

}  // namespace

std::string localTimeText(std::time_t time) {
  std::tm parts{};
  std::array<char, 64> text{};
  if (::localtime_r(&time, &parts) == nullptr) return {};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

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
  static const auto ticksASecond = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
  return *boot() + static_cast<std::time_t>(ticks / ticksASecond);
}

std::string BootClock::startText(std::uint64_t ticks) const {
  const auto start = startTime(ticks);
  return start ? localTimeText(*start) : std::string();
}

}  // namespace zevo::connections
