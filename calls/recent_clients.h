// Clients that recently did something.
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

// Shared memory of all processes of the daemon. Its size is fixed: of clients that share a place,
// the latest one is kept. Nobody can choose whose place that is.
class RecentClients {
 public:
  using Clock = std::chrono::steady_clock;

  // Aborts if there is no memory; only created at start.
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
  // Half of a client's hash, then the second at which it was last noted; 0: nobody.
  std::span<std::atomic<std::uint64_t>> places_;
};

}  // namespace calls
