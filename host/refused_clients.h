// Clients whose logins were refused not long ago.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace host {

inline constexpr std::chrono::minutes kRefusalsRemembered{10};

// What all processes of the daemon remember of them, in memory that they share. It has its size: of
// clients that share a place in it the last one stays. Nobody can choose whose place that is.
class RefusedClients {
 public:
  using Clock = std::chrono::steady_clock;

  RefusedClients();  // aborts where there is no memory: only called at start
  ~RefusedClients();
  RefusedClients(const RefusedClients&) = delete;
  RefusedClients& operator=(const RefusedClients&) = delete;

  void note(std::string_view client, Clock::time_point now = Clock::now());
  [[nodiscard]] bool holds(std::string_view client, Clock::time_point now = Clock::now()) const;

 private:
  [[nodiscard]] std::uint64_t hashOf(std::string_view client) const;

  std::string key_;
  // Half a client's hash, then the second of its last refusal; 0: nobody.
  std::span<std::atomic<std::uint64_t>> places_;
};

}  // namespace host
