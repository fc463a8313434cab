// The daemon's loop: accepts connections, starts a child for each call, ends calls that take too
// long. It parses nothing that clients send.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/types.h>
#include <vector>

#include "base/file_descriptor.h"
#include "calls/scoreboard.h"
#include "daemon/admission.h"
#include "daemon/fallback_replies.h"
#include "daemon/listener.h"
#include "daemon/rejected_calls.h"

namespace currentconnd {

struct ServerLimits {
  std::chrono::milliseconds call;        // time limit of each call
  std::chrono::milliseconds wait{1000};  // for a place
  // The time for a client to close its connection after a fallback reply.
  std::chrono::milliseconds leave{2000};
};

class Server {
 public:
  // The work of a child on its connection; when it returns, the child ends.
  using Work = std::function<void(int connection, calls::SocketKind socketKind, uid_t peer,
                                  calls::CallSlot& slot)>;

  // Serves as many calls at once as `board` has slots. The same number may wait for a place: the
  // process of a call that was just answered still holds one, and a short burst is no reason to
  // reject calls.
  Server(std::vector<Listener> listeners, calls::Scoreboard& board, const ServerLimits& limits,
         Work work);

  // Serves until SIGTERM or SIGINT, then accepts no new calls and returns when the running ones are
  // answered; a second signal ends them at once. Calls `ready` once signals are handled, and
  // `stopping` at the first signal.
  void run(const std::function<void()>& ready, const std::function<void()>& stopping);

 private:
  using Clock = std::chrono::steady_clock;

  struct Call {
    pid_t pid = 0;  // 0: the place is free
    zevo::FileDescriptor connection;
    calls::SocketKind socketKind = calls::SocketKind::kWeb;
    uid_t peer = 0;
    uid_t user = 0;  // as whom the peer is counted
    Clock::time_point began;
    bool isLate = false;
  };
  // An accepted connection that has no place yet.
  struct Waiting {
    zevo::FileDescriptor connection;
    calls::SocketKind socketKind = calls::SocketKind::kWeb;
    uid_t peer = 0;
    uid_t user = 0;  // as whom the peer is counted
    Clock::time_point until;
  };

  void step();
  std::vector<pollfd> watched() const;
  int timeout() const;
  void takeSignals();
  void stop();
  void endAtOnce();
  void acceptFrom(const Listener& listener);
  void admit(zevo::FileDescriptor connection, calls::SocketKind socketKind);
  [[nodiscard]] Load loadInFlight(uid_t asking) const;
  [[nodiscard]] Load loadWaiting(uid_t asking) const;
  void startWaiting();
  void rejectLateWaiting();
  void reject(Waiting waiting);
  void logRejectedCalls();
  bool startCall(Waiting& waiting);
  [[noreturn]] void becomeChild(std::size_t place);
  void endLateCalls();
  void reap();
  void finish(std::size_t place, int waitStatus);
  void answerFor(std::size_t place, calls::Problem problem, const std::string& why);
  [[nodiscard]] bool isBusy() const;

  std::vector<Listener> listeners_;
  calls::Scoreboard& scoreboard_;
  ServerLimits limits_;
  Work work_;
  std::vector<Call> calls_;
  std::vector<Waiting> waiting_;  // in the order of arrival
  FallbackReplies fallbackReplies_;
  RejectedCalls rejectedCalls_;
  zevo::FileDescriptor signals_;
  bool isStopping_ = false;
};

}  // namespace currentconnd
