// What the daemon and the children that serve its calls know of each other's calls.
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

// One call in flight. It lies in memory that parent and children share, so a child that went wrong
// may have written anything into it.
struct CallSlot {
  std::atomic<std::uint64_t> loginFrom;  // stands for the client that logs in; 0: no login
  std::atomic<std::int64_t> loginBegan;  // seconds of Scoreboard::Clock
  std::atomic<bool> isAnswering;         // who sets it sends the answer
  std::array<char, 384> summary;         // "method=… user=… from=…", for the log

  // By the child.
  void setSummary(std::string_view text);
  // By the parent: made printable, whatever is there.
  [[nodiscard]] std::string shownSummary() const;
  void clear();
};

static_assert(std::atomic<bool>::is_always_lock_free &&
                  std::atomic<std::int64_t>::is_always_lock_free &&
                  std::atomic<std::uint64_t>::is_always_lock_free,
              "processes share it");

// A login that has taken so long holds no place any more that others want: who logs in may be able
// to hold up PAM for as long as he likes. For the client itself it counts until it ends.
inline constexpr std::chrono::seconds kLoginPatience{10};

// How many logins may go on at once.
struct LoginPlaces {
  std::size_t all;          // some are kept for clients that have logged in before
  std::size_t ofStrangers;  // which have not; a guesser may have any number of addresses
  std::size_t ofRefused;    // strangers with a refusal not long ago
  std::size_t ofOneClient;  // one guesser does not keep everybody out
};

// The slots, as many as calls may be served at once.
class Scoreboard {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Scoreboard(std::size_t slots);  // aborts where there is no memory: only called at start
  ~Scoreboard();
  Scoreboard(const Scoreboard&) = delete;
  Scoreboard& operator=(const Scoreboard&) = delete;

  [[nodiscard]] CallSlot& slot(std::size_t index) { return slots_[index]; }
  [[nodiscard]] std::size_t size() const { return slots_.size(); }

  // Marks the call as a login of `client` (clientOf). False, and not marked, where the others leave
  // no place for it. Of several that try at the same time all may be turned away.
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
