#include "cli/client/daemon_transport.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <utility>

#include "base/file_failure.h"
#include "base/text.h"

namespace cli {
namespace {

// Each wait on `connection`, including that for acceptance, ends after `limit` with EAGAIN.
bool limitWaits(int connection, std::chrono::seconds limit) {
  timeval time{};
  time.tv_sec = limit.count();
  return ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) == 0 &&
         ::setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) == 0;
}

// A connection to root's process; none, with errno set, on failure.
zevo::FileDescriptor connectTo(const std::string& path, std::chrono::seconds limit) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return {};
  }
  path.copy(address.sun_path, path.size());
  zevo::FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection || !limitWaits(connection.get(), limit)) return {};
  const auto* target = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(connection.get(), target, sizeof address) != 0) return {};
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return {};
  if (peer.uid == 0) return connection;
  errno = EPERM;
  return {};
}

}  // namespace

DaemonTransport::DaemonTransport(std::string socketPath, std::chrono::seconds limit)
    : socketPath_(std::move(socketPath)), limit_(limit) {}

bool DaemonTransport::isThere() {
  connection_ = connectTo(socketPath_, limit_);
  return connection_ || errno == EAGAIN;
}

zevo::Result<Link> DaemonTransport::connect() {
  if (!connection_) connection_ = connectTo(socketPath_, limit_);
  if (connection_) return Link{std::exchange(connection_, {}), -1};
  if (errno != EAGAIN) {
    return zevo::failure(zevo::FileFailure{"connect to", socketPath_, errno}.text());
  }
  return zevo::failure("the daemon did not answer on " + zevo::printable(socketPath_, 4096) +
                       " within " + std::to_string(limit_.count()) + " seconds");
}

}  // namespace cli
