#include "calls/connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace calls {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kDrainLimit{10};
constexpr std::chrono::seconds kSendLimit{60};

// Waits for `event` until `end`; false after that.
bool waitFor(int connection, short event, Clock::time_point end) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) return false;
    pollfd watched{connection, event, 0};
    const int ready = ::poll(&watched, 1, static_cast<int>(left.count()) + 1);
    if (ready > 0) return true;
    if (ready < 0 && errno != EINTR) return false;
  }
}

// The available bytes: 0 at the end of the client's data, -1 on failure or at `end`.
ssize_t receive(int connection, std::array<char, 16384>& buffer, Clock::time_point end) {
  for (;;) {
    if (!waitFor(connection, POLLIN, end)) return -1;
    const ssize_t got = ::recv(connection, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (got >= 0 || (errno != EINTR && errno != EAGAIN)) return got;
  }
}

void drainConnection(int connection) {
  const Clock::time_point end = Clock::now() + kDrainLimit;
  std::array<char, 16384> buffer{};
  while (receive(connection, buffer, end) > 0) {
  }
}

}  // namespace

std::optional<ScgiParser::State> readRequest(int connection, std::chrono::milliseconds limit,
                                             ScgiParser& parser) {
  const Clock::time_point end = Clock::now() + limit;
  std::array<char, 16384> buffer{};
  while (parser.state() == ScgiParser::State::kNeedMore) {
    const ssize_t got = receive(connection, buffer, end);
    if (got <= 0) return std::nullopt;
    parser.feed({buffer.data(), static_cast<std::size_t>(got)});
    ::explicit_bzero(buffer.data(), static_cast<std::size_t>(got));  // it may hold a password
  }
  return parser.state();
}

bool sendAnswer(int connection, std::string_view bytes, bool drain) {
  const Clock::time_point end = Clock::now() + kSendLimit;
  while (!bytes.empty()) {
    if (!waitFor(connection, POLLOUT, end)) return false;
    const ssize_t sent =
        ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EINTR && errno != EAGAIN) return false;
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
  }
  ::shutdown(connection, SHUT_WR);
  if (drain) drainConnection(connection);
  return true;
}

}  // namespace calls
