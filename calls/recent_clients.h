// Clients to whom something happened not long ago.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace calls {

inline constexpr std::chrono::minutes kRefusalsRemembered{10};
inline constexpr std::chrono::days kLoginsRemembered{90};

// What all processes of the daemon remember of them, in memory that they share. It has its size: of
// clients that share a place in it the last one stays. Nobody can choose whose place that is.
class RecentClients {
 public:
  using Clock = std::chrono::steady_clock;

  // Aborts where there is no memory: only made at start.
  explicit RecentClients(std::chrono::seconds remembered);
  ~RecentClients();
  RecentClients(const RecentClients&) = delete;
  RecentClients& operator=(const RecentClients&) = delete;

  void note(std::string_view client, Clock::time_point now = Clock::now());
  [[nodiscard]] bool holds(std::string_view client, Clock::time_point now = Clock::now()) const;

 private:
  [[nodiscard]] std::uint64_t hashOf(std::string_view client) const;

  std::chrono::seconds remembered_;
  std::string key_;
  // Half a client's hash, then the second when it was noted last; 0: nobody.
  std::span<std::atomic<std::uint64_t>> places_;
};

}  // namespace calls
