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
    return zevo::failure("cannot connect to a child process: " + zevo::errorText(errno));
  }
  zevo::FileDescriptor ours(ends[0]);
  zevo::FileDescriptor theirs(ends[1]);
  // Both processes would write buffered text.
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0)
    return zevo::failure("cannot create a process for the call: " + zevo::errorText(errno));
  if (child == 0) {
    ours.reset();
    calls::beginCallProcess(limit_);
    // The reader of this program's output must not wait for a call that continues without it.
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    calls::CallSlot slot;
    slot.clear();
    calls::serveConnection(theirs.get(), calls::SocketKind::kLocal, ::geteuid(), system_.service(),
                           slot);
    std::fflush(nullptr);
    ::_exit(0);  // no destructors of the parent's objects
  }
  // The child does the same; whichever is first, it is done when this returns.
  ::setpgid(child, child);
  return Link{std::move(ours), child};
}

}  // namespace cli
