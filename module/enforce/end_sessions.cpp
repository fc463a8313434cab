#include <signal.h>
#include <unistd.h>

#include "enforce/kill_sessions.h"
#include "enforce/server_process.h"

namespace {

constexpr int kPasses = 5;

// A whole second, even if a handled signal interrupts it.
void sleepOneSecond() {
  for (unsigned left = 1; left > 0;) left = sleep(left);
}

// Marks the sessions whose process has ended; returns whether any still runs.
bool anyStillRuns(SessionList& list) {
  bool running = false;
  for (Session& session : list) {
    if (session.pid == 0) continue;
    if (isProcessId(session.pid) && kill(static_cast<pid_t>(session.pid), 0) == 0) {
      running = true;
    } else {
      session.pid = 0;
    }
  }
  return running;
}

}  // namespace

void EndServiceSessions(SessionList& list) {
  KillServiceSessions(list, SIGTERM);
  for (int pass = 0; pass < kPasses; ++pass) {
    sleepOneSecond();
    if (list.empty() || !anyStillRuns(list)) return;
  }
  KillServiceSessions(list, SIGKILL);
}
