#include "calls/recent_clients.h"

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <sys/mman.h>

#include "host/login_token.h"

namespace calls {
namespace {

constexpr std::size_t kPlaces = 16384;
constexpr std::uint64_t kSecondsMask = 0xFFFFFFFFU;

std::uint64_t maskedSeconds(RecentClients::Clock::time_point time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch());
  return static_cast<std::uint64_t>(seconds.count()) & kSecondsMask;
}

}  // namespace

RecentClients::RecentClients(std::chrono::seconds remembered)
    : remembered_(remembered), key_(zevo::newLoginToken()) {
  void* memory = ::mmap(nullptr, kPlaces * sizeof(std::atomic<std::uint64_t>),
                        PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  places_ = {static_cast<std::atomic<std::uint64_t>*>(memory), kPlaces};  // of zeroes
}

RecentClients::~RecentClients() {
  ::munmap(places_.data(), places_.size_bytes());
}

std::uint64_t RecentClients::hashOf(std::string_view client) const {
  return std::hash<std::string>()(zevo::keyedHash(key_, client)) | 1ULL << 32U;  // never 0 above
}

void RecentClients::note(std::string_view client, Clock::time_point now) {
  const std::uint64_t hash = hashOf(client);
  places_[hash % kPlaces] = (hash & ~kSecondsMask) | maskedSeconds(now);
}

bool RecentClients::holds(std::string_view client, Clock::time_point now) const {
  const std::uint64_t hash = hashOf(client);
  const std::uint64_t place = places_[hash % kPlaces];
  if ((place & ~kSecondsMask) != (hash & ~kSecondsMask)) return false;
  const std::uint64_t age = (maskedSeconds(now) - place) & kSecondsMask;
  return age < static_cast<std::uint64_t>(remembered_.count());
}

}  // namespace calls
