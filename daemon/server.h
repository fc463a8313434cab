// The daemon's loop: accepts, starts a child for each call, ends those that take too long. It
// parses nothing that clients send.
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
  std::chrono::milliseconds call;        // each call ends after this at the latest
  std::chrono::milliseconds wait{1000};  // for a place
  // For a client to close its connection after an answer of the server's own.
  std::chrono::milliseconds leave{2000};
};

class Server {
 public:
  // What a child does with its connection; when it returns, the child ends.
  using Work = std::function<void(int connection, calls::SocketKind socketKind, uid_t peer,
                                  calls::CallSlot& slot)>;

  // As many calls at once as `board` has slots. As many again wait for a place: the process of a
  // call that was just answered still has its own, and a short rush is no reason to turn anybody
  // away.
  Server(std::vector<Listener> listeners, calls::Scoreboard& board, const ServerLimits& limits,
         Work work);

  // Serves until SIGTERM or SIGINT, then takes no new calls and returns when those in flight are
  // answered; a second signal ends them at once. Calls `ready` once signals are taken care of, and
  // `stopping` at the first signal.
  void run(const std::function<void()>& ready, const std::function<void()>& stopping);

 private:
  using Clock = std::chrono::steady_clock;

  struct Call {
    pid_t pid = 0;  // 0: the place is free
    zevo::FileDescriptor connection;
    calls::SocketKind socketKind = calls::SocketKind::kWeb;
    uid_t peer = 0;
    Clock::time_point began;
    bool isLate = false;
  };
  // A connection that was accepted and has no place yet.
  struct Waiting {
    zevo::FileDescriptor connection;
    calls::SocketKind socketKind = calls::SocketKind::kWeb;
    uid_t peer = 0;
    Clock::time_point until;
  };

  void step();
  std::vector<pollfd> watched() const;
  int patience() const;
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
  std::vector<Waiting> waiting_;  // in the order of their coming
  FallbackReplies fallbackReplies_;
  RejectedCalls rejectedCalls_;
  zevo::FileDescriptor signals_;
  bool isStopping_ = false;
};

}  // namespace currentconnd
