#include "calls/call_process.h"

#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

namespace calls {
namespace {

using std::chrono::duration_cast;
using std::chrono::seconds;

// A child whose parent is gone ends this long after its limit, by its own alarm.
constexpr seconds kAlarmMargin{30};
constexpr rlim_t kLargestFile = 256UL * 1024 * 1024;  // of what a method prints

}  // namespace

void beginCallProcess(std::chrono::milliseconds limit) {
  ::setpgid(0, 0);
  // Ignoring a signal once discards what is pending of it.
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGTSTP, SIGWINCH, SIGCHLD}) {
    ::signal(number, SIG_IGN);
    ::signal(number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::alarm(static_cast<unsigned>(duration_cast<seconds>(limit + kAlarmMargin).count()));
  const rlimit largest{kLargestFile, kLargestFile};
  ::setrlimit(RLIMIT_FSIZE, &largest);
}

}  // namespace calls
