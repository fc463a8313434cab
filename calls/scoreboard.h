// The state of all calls, shared by the daemon and the children that serve them.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "calls/recent_clients.h"

namespace calls {

// One running call, in memory shared by the parent and the children. A faulty child may have
// written anything into it.
struct CallSlot {
  std::atomic<std::uint64_t> loginFrom;  // identifies the client that logs in; 0: no login
  std::atomic<std::int64_t> loginBegan;  // seconds of Scoreboard::Clock
  std::atomic<bool> isAnswering;         // whoever sets it sends the answer
  std::array<char, 384> summary;         // "method=… user=… from=…", for the log

  // By the child.
  void setSummary(std::string_view text);
  // By the parent: always made printable.
  [[nodiscard]] std::string shownSummary() const;
  void clear();
};

static_assert(std::atomic<bool>::is_always_lock_free &&
                  std::atomic<std::int64_t>::is_always_lock_free &&
                  std::atomic<std::uint64_t>::is_always_lock_free,
              "processes share it");

// A login that has taken this long no longer takes a place from others, since a client may be able
// to delay PAM at will. For the client itself it counts until it ends.
inline constexpr std::chrono::seconds kLoginGrace{10};

// How many logins may run at once.
struct LoginPlaces {
  std::size_t all;          // some are reserved for clients that have logged in before
  std::size_t ofStrangers;  // that have not; a guesser may have any number of addresses
  std::size_t ofRefused;    // strangers with a recent refusal
  std::size_t ofOneClient;  // a guesser does not keep everybody out
};

// The slots, as many as calls may be served at once.
class Scoreboard {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Scoreboard(std::size_t slots);  // aborts if there is no memory; only called at start
  ~Scoreboard();
  Scoreboard(const Scoreboard&) = delete;
  Scoreboard& operator=(const Scoreboard&) = delete;

  [[nodiscard]] CallSlot& slot(std::size_t index) { return slots_[index]; }
  [[nodiscard]] std::size_t size() const { return slots_.size(); }

  // Marks the call as a login of `client` (clientOf). False, and not marked, if there is no place
  // for it. If several try at the same time, all may be rejected.
  bool beginLogin(CallSlot& slot, std::string_view client, const LoginPlaces& places,
                  Clock::time_point now = Clock::now());
  // Remembers that a login of the client was refused, or succeeded.
  void noteRefusal(std::string_view client) { refused_.note(client); }
  void noteLogin(std::string_view client) { known_.note(client); }

 private:
  [[nodiscard]] std::size_t mostFor(std::string_view client, const LoginPlaces& places) const;

  RecentClients refused_{kRefusalsRemembered};
  RecentClients known_{kLoginsRemembered};
  std::span<CallSlot> slots_;
};

}  // namespace calls
