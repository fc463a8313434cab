#include "daemon/server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "base/file_failure.h"
#include "calls/call_log.h"
#include "calls/call_process.h"
#include "calls/log.h"

namespace currentconnd {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

constexpr int kAcceptedAtOnce = 64;
constexpr rlim_t kOtherDescriptors = 512;

sigset_t watchedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, signal);
  return signals;
}

std::optional<uid_t> peerOf(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
  return peer.uid;
}

// The parent process may have left signals ignored; then the daemon could not wait for children, or
// they would not end on signals. The daemon itself survives a log without a reader.
void forgetInheritedSignals() {
  for (int signal = 1; signal < SIGRTMAX; ++signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) continue;
    ::signal(signal, SIG_DFL);
  }
  ::signal(SIGPIPE, SIG_IGN);
}

// A running call needs a descriptor here, and so do waiting calls and those answered here.
void raiseDescriptorLimit(std::size_t calls) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur =
      std::clamp<rlim_t>(2 * calls + kOtherDescriptors, limit.rlim_cur, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

bool isClean(int waitStatus) {
  return WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == 0;
}

std::string endText(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) return "signal " + std::to_string(WTERMSIG(waitStatus));
  return "exit status " + std::to_string(WEXITSTATUS(waitStatus));
}

}  // namespace

Server::Server(std::vector<Listener> listeners, calls::Scoreboard& board,
               const ServerLimits& limits, Work work)
    : listeners_(std::move(listeners)),
      scoreboard_(board),
      limits_(limits),
      work_(std::move(work)),
      calls_(board.size()),
      fallbackReplies_(limits.leave) {}

void Server::run(const std::function<void()>& ready, const std::function<void()>& stopping) {
  const sigset_t signals = watchedSignals();
  forgetInheritedSignals();
  raiseDescriptorLimit(scoreboard_.size());
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  signals_.reset(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!signals_) {
    calls::logLine(LOG_ERR, "cannot watch for signals: " + zevo::errorText(errno));
    return;
  }
  ready();
  while (!isStopping_) step();
  stopping();
  while (isBusy()) step();
  logRejectedCalls();
}

bool Server::isBusy() const {
  return !waiting_.empty() ||
         std::any_of(calls_.begin(), calls_.end(), [](const Call& call) { return call.pid != 0; });
}

void Server::step() {
  std::vector<pollfd> watch = watched();
  if (::poll(watch.data(), watch.size(), timeout()) < 0) return;
  takeSignals();
  const std::size_t listening = isStopping_ ? 0 : listeners_.size();
  for (std::size_t i = 0; i < listening; ++i) {
    if (watch[i + 1].revents != 0) acceptFrom(listeners_[i]);
  }
  endLateCalls();
  rejectLateWaiting();
  fallbackReplies_.step();
  if (rejectedCalls_.due() <= Clock::now()) logRejectedCalls();
}

std::vector<pollfd> Server::watched() const {
  std::vector<pollfd> watch{{signals_.get(), POLLIN, 0}};
  if (!isStopping_) {
    for (const Listener& listener : listeners_) watch.push_back({listener.descriptor(), POLLIN, 0});
  }
  fallbackReplies_.addTo(watch);
  return watch;
}

// Milliseconds until the next limit of a call or of a closing connection; -1 if there is none.
int Server::timeout() const {
  Clock::time_point next = Clock::time_point::max();
  for (const Call& call : calls_) {
    if (call.pid != 0 && !call.isLate) next = std::min(next, call.began + limits_.call);
  }
  if (!waiting_.empty()) next = std::min(next, waiting_.front().until);
  next = std::min({next, fallbackReplies_.due(), rejectedCalls_.due()});
  if (next == Clock::time_point::max()) return -1;
  const auto left = duration_cast<milliseconds>(next - Clock::now()).count() + 1;
  return static_cast<int>(std::max<decltype(left)>(left, 0));
}

void Server::takeSignals() {
  signalfd_siginfo signal{};
  while (::read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
    const auto number = static_cast<int>(signal.ssi_signo);
    if (number == SIGCHLD) reap();
    if (number == SIGTERM || number == SIGINT) stop();
  }
  startWaiting();
}

void Server::stop() {
  if (isStopping_) endAtOnce();
  isStopping_ = true;
  // Connections accepted so far are served. Sockets passed by systemd continue to listen without
  // us.
  for (const Listener& listener : listeners_) {
    if (listener.isOwn()) acceptFrom(listener);
  }
  listeners_.clear();
}

void Server::endAtOnce() {
  for (const Call& call : calls_) {
    if (call.pid != 0) ::kill(-call.pid, SIGKILL);
  }
  for (Waiting& waiting : std::exchange(waiting_, {})) reject(std::move(waiting));
}

void Server::acceptFrom(const Listener& listener) {
  for (int i = 0; i < kAcceptedAtOnce; ++i) {
    zevo::FileDescriptor connection(
        ::accept4(listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection) {
      admit(std::move(connection), listener.socketKind());
      continue;
    }
    if (errno == EMFILE || errno == ENFILE) {
      calls::logLine(LOG_ERR, "cannot accept a connection: " + zevo::errorText(errno));
      ::poll(nullptr, 0, 100);  // it remains ready and would be retried at once
    }
    if (errno != EINTR && errno != ECONNABORTED) return;
  }
}

Load Server::loadInFlight(uid_t asking) const {
  Load load;
  for (const Call& call : calls_) {
    if (call.pid != 0) load.add(call.socketKind, call.user, asking);
  }
  return load;
}

Load Server::loadWaiting(uid_t asking) const {
  Load load;
  for (const Waiting& waiting : waiting_) load.add(waiting.socketKind, waiting.user, asking);
  return load;
}

void Server::admit(zevo::FileDescriptor connection, calls::SocketKind socketKind) {
  const auto peer = peerOf(connection.get());
  if (!peer) return;
  const bool isRoots = socketKind == calls::SocketKind::kWeb || *peer == 0;
  const uid_t user =
      isRoots ? *peer : countedAs(*peer, zevo::subordinateRanges(zevo::kSubordinateIds));
  Waiting arrival{std::move(connection), socketKind, *peer, user, Clock::now() + limits_.wait};
  if (!isAdmitted(socketKind, user, loadWaiting(user), scoreboard_.size())) {
    reject(std::move(arrival));
    return;
  }
  waiting_.push_back(std::move(arrival));
  startWaiting();
}

// First come, first served, skipping those that need another kind of place.
void Server::startWaiting() {
  for (std::size_t i = 0; i < waiting_.size();) {
    const uid_t user = waiting_[i].user;
    if (!isAdmitted(waiting_[i].socketKind, user, loadInFlight(user), scoreboard_.size())) {
      ++i;
      continue;
    }
    Waiting next = std::move(waiting_[i]);
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(i));
    if (!startCall(next)) reject(std::move(next));
  }
}

void Server::rejectLateWaiting() {
  while (!waiting_.empty() && waiting_.front().until <= Clock::now()) {
    Waiting late = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
    reject(std::move(late));
  }
}

void Server::reject(Waiting waiting) {
  rejectedCalls_.count(waiting.socketKind, waiting.user, Clock::now());
  fallbackReplies_.give(std::move(waiting.connection), calls::Problem::kBusy);
}

void Server::logRejectedCalls() {
  for (const std::string& line : rejectedCalls_.takeLines()) calls::logLine(LOG_WARNING, line);
}

bool Server::startCall(Waiting& waiting) {
  const auto free =
      std::find_if(calls_.begin(), calls_.end(), [](const Call& call) { return call.pid == 0; });
  if (free == calls_.end()) return false;
  const auto place = static_cast<std::size_t>(free - calls_.begin());
  scoreboard_.slot(place).clear();
  scoreboard_.slot(place).setSummary(calls::summaryOfUnread(waiting.socketKind, waiting.peer));
  *free = Call{0,
               std::move(waiting.connection),
               waiting.socketKind,
               waiting.peer,
               waiting.user,
               Clock::now(),
               false};
  std::fflush(nullptr);  // a child must not print its parent's buffered output
  const pid_t pid = ::fork();
  if (pid == 0) becomeChild(place);
  if (pid < 0) {
    calls::logLine(LOG_ERR, "cannot start a process for a call: " + zevo::errorText(errno));
    waiting.connection = std::move(free->connection);
    return false;
  }
  ::setpgid(pid, pid);
  free->pid = pid;
  return true;
}

void Server::becomeChild(std::size_t place) {
  calls::beginCallProcess(limits_.call);
  // A child must not hold the connections of other callers.
  const Call own = std::move(calls_[place]);
  for (Listener& listener : listeners_) listener.forget();
  calls_.clear();
  waiting_.clear();
  fallbackReplies_.forget();
  signals_.reset();
  work_(own.connection.get(), own.socketKind, own.peer, scoreboard_.slot(place));
  std::fflush(nullptr);
  ::_exit(0);
}

void Server::endLateCalls() {
  const Clock::time_point now = Clock::now();
  for (std::size_t i = 0; i < calls_.size(); ++i) {
    Call& call = calls_[i];
    if (call.pid == 0 || call.isLate || now - call.began < limits_.call) continue;
    call.isLate = true;
    ::kill(-call.pid, SIGKILL);
    ::kill(call.pid, SIGKILL);
    // A process that waits for a disk ends later and keeps its place, but its caller need not wait.
    answerFor(i, calls::Problem::kTooLate, "its process did not finish in time");
  }
}

void Server::reap() {
  for (std::size_t i = 0; i < calls_.size(); ++i) {
    if (calls_[i].pid == 0) continue;
    siginfo_t ended{};
    const auto id = static_cast<id_t>(calls_[i].pid);
    if (::waitid(P_PID, id, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid == 0) {
      continue;
    }
    ::kill(-calls_[i].pid, SIGKILL);  // ends what it started; its pid is still reserved
    int status = 0;
    ::waitpid(calls_[i].pid, &status, 0);
    finish(i, status);
  }
}

void Server::finish(std::size_t place, int waitStatus) {
  if (!calls_[place].isLate && !(scoreboard_.slot(place).isAnswering && isClean(waitStatus))) {
    answerFor(place, calls::Problem::kNoAnswer, "its process ended with " + endText(waitStatus));
  }
  calls_[place] = Call{};
  scoreboard_.slot(place).clear();
}

// Answers instead of the call's process, unless that has begun to answer.
void Server::answerFor(std::size_t place, calls::Problem problem, const std::string& why) {
  Call& call = calls_[place];
  calls::CallSlot& slot = scoreboard_.slot(place);
  const calls::ProblemRow& row = calls::rowOf(problem);
  const bool isAnswering = slot.isAnswering.exchange(true);
  calls::logLine(LOG_ERR, slot.shownSummary() +
                              (isAnswering ? "" : calls::resultText(row.status, row.code)) +
                              calls::timeText(Clock::now() - call.began) + ": " + why +
                              (isAnswering ? " while it answered" : " before it answered"));
  zevo::FileDescriptor connection = std::move(call.connection);
  if (!isAnswering) fallbackReplies_.give(std::move(connection), problem);
}

}  // namespace currentconnd
