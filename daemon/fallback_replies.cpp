#include "daemon/fallback_replies.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/socket.h>

#include "calls/answer.h"

namespace currentconnd {
namespace {

constexpr std::size_t kMostLeaving = 256;

// Discards what a client has sent. False once it has closed its side.
bool dropBytes(int connection) {
  std::array<char, 16384> dropped{};
  const ssize_t got = ::recv(connection, dropped.data(), dropped.size(), MSG_DONTWAIT);
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace

void FallbackReplies::give(zevo::FileDescriptor connection, calls::Problem problem) {
  const std::string text = calls::scgiText(calls::problemAnswer(problem));
  const ssize_t sent =
      ::send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent != static_cast<ssize_t>(text.size())) return;
  ::shutdown(connection.get(), SHUT_WR);
  if (dropBytes(connection.get()) && leaving_.size() < kMostLeaving) {
    leaving_.push_back({std::move(connection), Clock::now() + leaveLimit_});
  }
}

void FallbackReplies::addTo(std::vector<pollfd>& watched) const {
  for (const Leaving& leaving : leaving_) watched.push_back({leaving.connection.get(), POLLIN, 0});
}

FallbackReplies::Clock::time_point FallbackReplies::due() const {
  // They are ordered by time.
  return leaving_.empty() ? Clock::time_point::max() : leaving_.front().until;
}

void FallbackReplies::step() {
  const Clock::time_point now = Clock::now();
  std::erase_if(leaving_, [&](const Leaving& leaving) {
    return !dropBytes(leaving.connection.get()) || now >= leaving.until;
  });
}

}  // namespace currentconnd
