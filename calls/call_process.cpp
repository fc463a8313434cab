#include "calls/call_process.h"

#include <csignal>
#include <unistd.h>

namespace calls {
namespace {

using std::chrono::duration_cast;
using std::chrono::seconds;

// A child whose parent has ended is ended by its own alarm, this long after its limit.
constexpr seconds kAlarmMargin{30};

}  // namespace

void beginCallProcess(std::chrono::milliseconds limit) {
  ::setpgid(0, 0);
  // Ignoring a signal briefly discards pending instances of it.
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH, SIGCHLD}) {
    ::signal(number, SIG_IGN);
    ::signal(number, SIG_DFL);
  }
  ::signal(SIGPIPE, SIG_IGN);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::alarm(static_cast<unsigned>(duration_cast<seconds>(limit + kAlarmMargin).count()));
}

}  // namespace calls
