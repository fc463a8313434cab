#include "cli/client/child_transport.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "base/file_failure.h"
#include "calls/call_process.h"

namespace cli {

zevo::Result<Link> ChildTransport::connect() {
  std::array<int, 2> ends = {};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    return zevo::failure("no connection to a process of its own: " + zevo::errorText(errno));
  }
  zevo::FileDescriptor ours(ends[0]);
  zevo::FileDescriptor theirs(ends[1]);
  // Text that waits in a buffer would come out of both processes.
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) return zevo::failure("no process for the call: " + zevo::errorText(errno));
  if (child == 0) {
    ours.reset();
    calls::beginCallProcess(limit_);
    // Who reads what this program prints does not wait for a call that goes on without it.
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    calls::CallSlot slot;
    slot.clear();
    calls::serveConnection(theirs.get(), calls::SocketKind::kLocal, ::geteuid(), system_.service(),
                           slot);
    std::fflush(nullptr);
    ::_exit(0);  // no destructors of objects that are the parent's
  }
  // As the child does: whoever is first, it is done when this returns.
  ::setpgid(child, child);
  return Link{std::move(ours), child};
}

}  // namespace cli
