#include "calls/scoreboard.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <sys/mman.h>

#include "base/text.h"

namespace calls {
namespace {

std::int64_t secondsOf(Scoreboard::Clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

}  // namespace

void CallSlot::setSummary(std::string_view text) {
  const std::size_t size = std::min(text.size(), summary.size() - 1);
  std::memcpy(summary.data(), text.data(), size);
  summary.at(size) = '\0';
}

std::string CallSlot::shownSummary() const {
  return zevo::printable({summary.data(), ::strnlen(summary.data(), summary.size())},
                         summary.size());
}

void CallSlot::clear() {
  loginFrom = 0;
  loginBegan = 0;
  isAnswering = false;
  setSummary("method=-");
}

Scoreboard::Scoreboard(std::size_t slots) {
  void* memory = ::mmap(nullptr, slots * sizeof(CallSlot), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  auto* first = static_cast<CallSlot*>(memory);
  for (std::size_t i = 0; i < slots; ++i) (new (first + i) CallSlot())->clear();
  slots_ = {first, slots};
}

Scoreboard::~Scoreboard() {
  ::munmap(slots_.data(), slots_.size_bytes());
}

std::size_t Scoreboard::mostFor(std::string_view client, const LoginPlaces& places) const {
  if (known_.holds(client)) return places.all;
  return refused_.holds(client) ? places.ofRefused : places.ofStrangers;
}

bool Scoreboard::beginLogin(CallSlot& slot, std::string_view client, const LoginPlaces& places,
                            Clock::time_point now) {
  const std::uint64_t from = std::hash<std::string_view>()(client) | 1U;  // never 0
  slot.loginBegan = secondsOf(now);
  slot.loginFrom = from;
  std::size_t logins = 0;
  std::size_t fromThere = 0;
  for (const CallSlot& other : slots_) {
    const std::uint64_t otherFrom = other.loginFrom;
    const bool isYoung = other.loginBegan > secondsOf(now - kLoginGrace);
    if (otherFrom != 0 && isYoung) ++logins;
    if (otherFrom == from) ++fromThere;
  }
  if (logins <= mostFor(client, places) && fromThere <= places.ofOneClient) return true;
  slot.loginFrom = 0;
  return false;
}

}  // namespace calls
