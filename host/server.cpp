#include "server.h"

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
#include "call_line.h"
#include "log.h"

namespace host {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kAcceptedAtOnce = 64;
constexpr rlim_t kOtherDescriptors = 512;
// A child whose parent is gone ends this long after its limit, by its own alarm.
constexpr seconds kAlarmMargin{30};
constexpr rlim_t kLargestFile = 256UL * 1024 * 1024;  // of what a method prints

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

// Whoever started the daemon may have left signals ignored: children could not be waited for, or
// would not end by them. The daemon itself survives a log that nobody reads any more.
void forgetInheritedSignals() {
  for (int signal = 1; signal < SIGRTMAX; ++signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_IGN) continue;
    ::signal(signal, SIG_DFL);
  }
  ::signal(SIGPIPE, SIG_IGN);
}

// A call needs a descriptor here, as one that waits does, and one that was answered here.
void raiseDescriptorLimit(std::size_t calls) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur =
      std::clamp<rlim_t>(2 * calls + kOtherDescriptors, limit.rlim_cur, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// A child begins with the signal mask of a fresh process (no signal has a handler) and a group of
// its own, so that what it starts ends with it.
void resetProcess(milliseconds callLimit) {
  ::setpgid(0, 0);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::alarm(static_cast<unsigned>(duration_cast<seconds>(callLimit + kAlarmMargin).count()));
  const rlimit largest{kLargestFile, kLargestFile};
  ::setrlimit(RLIMIT_FSIZE, &largest);
}

bool isClean(int waitStatus) {
  return WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == 0;
}

std::string endText(int waitStatus) {
  if (WIFSIGNALED(waitStatus)) return "signal " + std::to_string(WTERMSIG(waitStatus));
  return "exit status " + std::to_string(WEXITSTATUS(waitStatus));
}

}  // namespace

Server::Server(std::vector<Listener> listeners, CallBoard& board, const ServerLimits& limits,
               Work work)
    : listeners_(std::move(listeners)),
      board_(board),
      limits_(limits),
      work_(std::move(work)),
      calls_(board.size()),
      ownAnswers_(limits.leave) {}

void Server::run(const std::function<void()>& ready, const std::function<void()>& stopping) {
  const sigset_t signals = watchedSignals();
  forgetInheritedSignals();
  raiseDescriptorLimit(board_.size());
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  signals_.reset(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!signals_) {
    logLine(LOG_ERR, "cannot watch for signals: " + zevo::errorText(errno));
    return;
  }
  ready();
  while (!isStopping_) step();
  stopping();
  while (isBusy()) step();
  logTurnedAway();
}

bool Server::isBusy() const {
  return !waiting_.empty() ||
         std::any_of(calls_.begin(), calls_.end(), [](const Call& call) { return call.pid != 0; });
}

void Server::step() {
  std::vector<pollfd> watch = watched();
  if (::poll(watch.data(), watch.size(), patience()) < 0) return;
  takeSignals();
  const std::size_t listening = isStopping_ ? 0 : listeners_.size();
  for (std::size_t i = 0; i < listening; ++i) {
    if (watch[i + 1].revents != 0) acceptFrom(listeners_[i]);
  }
  endLateCalls();
  turnAwayLateWaiting();
  ownAnswers_.step();
  if (turnedAway_.due() <= Clock::now()) logTurnedAway();
}

std::vector<pollfd> Server::watched() const {
  std::vector<pollfd> watch{{signals_.get(), POLLIN, 0}};
  if (!isStopping_) {
    for (const Listener& listener : listeners_) watch.push_back({listener.descriptor(), POLLIN, 0});
  }
  ownAnswers_.addTo(watch);
  return watch;
}

// Milliseconds until a call is late or a leaving connection has had its time; -1 where nothing is.
int Server::patience() const {
  Clock::time_point next = Clock::time_point::max();
  for (const Call& call : calls_) {
    if (call.pid != 0 && !call.isLate) next = std::min(next, call.began + limits_.call);
  }
  if (!waiting_.empty()) next = std::min(next, waiting_.front().until);
  next = std::min({next, ownAnswers_.due(), turnedAway_.due()});
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
  // Who has come so far is served. Sockets that were handed over go on without us.
  for (const Listener& listener : listeners_) {
    if (listener.isOwn()) acceptFrom(listener);
  }
  listeners_.clear();
}

void Server::endAtOnce() {
  for (const Call& call : calls_) {
    if (call.pid != 0) ::kill(-call.pid, SIGKILL);
  }
  for (Waiting& waiting : std::exchange(waiting_, {})) turnAway(std::move(waiting));
}

void Server::acceptFrom(const Listener& listener) {
  for (int i = 0; i < kAcceptedAtOnce; ++i) {
    zevo::FileDescriptor connection(
        ::accept4(listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection) {
      admit(std::move(connection), listener.entrance());
      continue;
    }
    if (errno == EMFILE || errno == ENFILE) {
      logLine(LOG_ERR, "cannot accept a connection: " + zevo::errorText(errno));
      ::poll(nullptr, 0, 100);  // it stays ready, and would be tried again at once
    }
    if (errno != EINTR && errno != ECONNABORTED) return;
  }
}

Load Server::loadInFlight(uid_t asking) const {
  Load load;
  for (const Call& call : calls_) {
    if (call.pid != 0) load.add(call.entrance, call.peer, asking);
  }
  return load;
}

Load Server::loadWaiting(uid_t asking) const {
  Load load;
  for (const Waiting& waiting : waiting_) load.add(waiting.entrance, waiting.peer, asking);
  return load;
}

void Server::admit(zevo::FileDescriptor connection, Entrance entrance) {
  const auto peer = peerOf(connection.get());
  if (!peer) return;
  Waiting arrival{std::move(connection), entrance, *peer, Clock::now() + limits_.wait};
  if (!isAdmitted(entrance, *peer, loadWaiting(*peer), board_.size())) {
    turnAway(std::move(arrival));
    return;
  }
  waiting_.push_back(std::move(arrival));
  startWaiting();
}

// Who came first goes first, past those for whom only a place of another kind would do.
void Server::startWaiting() {
  for (std::size_t i = 0; i < waiting_.size();) {
    const uid_t peer = waiting_[i].peer;
    if (!isAdmitted(waiting_[i].entrance, peer, loadInFlight(peer), board_.size())) {
      ++i;
      continue;
    }
    Waiting next = std::move(waiting_[i]);
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(i));
    if (!startCall(next)) turnAway(std::move(next));
  }
}

void Server::turnAwayLateWaiting() {
  while (!waiting_.empty() && waiting_.front().until <= Clock::now()) {
    Waiting late = std::move(waiting_.front());
    waiting_.erase(waiting_.begin());
    turnAway(std::move(late));
  }
}

void Server::turnAway(Waiting waiting) {
  turnedAway_.count(waiting.entrance, waiting.peer, Clock::now());
  ownAnswers_.give(std::move(waiting.connection), Problem::kBusy);
}

void Server::logTurnedAway() {
  for (const std::string& line : turnedAway_.takeLines()) logLine(LOG_WARNING, line);
}

bool Server::startCall(Waiting& waiting) {
  const auto free =
      std::find_if(calls_.begin(), calls_.end(), [](const Call& call) { return call.pid == 0; });
  if (free == calls_.end()) return false;
  const auto place = static_cast<std::size_t>(free - calls_.begin());
  board_.slot(place).clear();
  board_.slot(place).setSummary(summaryOfUnread(waiting.entrance, waiting.peer));
  *free =
      Call{0, std::move(waiting.connection), waiting.entrance, waiting.peer, Clock::now(), false};
  std::fflush(nullptr);  // a child must not print what its parent has buffered
  const pid_t pid = ::fork();
  if (pid == 0) becomeChild(place);
  if (pid < 0) {
    logLine(LOG_ERR, "cannot start a process for a call: " + zevo::errorText(errno));
    waiting.connection = std::move(free->connection);
    return false;
  }
  ::setpgid(pid, pid);
  free->pid = pid;
  return true;
}

void Server::becomeChild(std::size_t place) {
  resetProcess(limits_.call);
  // One caller's child holds no other caller's connection.
  const Call own = std::move(calls_[place]);
  for (Listener& listener : listeners_) listener.forget();
  calls_.clear();
  waiting_.clear();
  ownAnswers_.forget();
  signals_.reset();
  work_(own.connection.get(), own.entrance, own.peer, board_.slot(place));
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
    // A process that waits for a disk dies later, and keeps its place; its caller need not wait.
    answerFor(i, Problem::kTooLate, "its process did not end within its time");
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
    ::kill(-calls_[i].pid, SIGKILL);  // what it started; its own number is still taken
    int status = 0;
    ::waitpid(calls_[i].pid, &status, 0);
    finish(i, status);
  }
}

void Server::finish(std::size_t place, int waitStatus) {
  if (!calls_[place].isLate && !(board_.slot(place).isAnswering && isClean(waitStatus))) {
    answerFor(place, Problem::kNoAnswer, "its process ended with " + endText(waitStatus));
  }
  calls_[place] = Call{};
  board_.slot(place).clear();
}

// Answers in place of the call's process, unless its own answer has begun.
void Server::answerFor(std::size_t place, Problem problem, const std::string& why) {
  Call& call = calls_[place];
  CallSlot& slot = board_.slot(place);
  const ProblemRow& row = rowOf(problem);
  const bool isAnswering = slot.isAnswering.exchange(true);
  logLine(LOG_ERR, slot.shownSummary() + (isAnswering ? "" : resultText(row.status, row.code)) +
                       timeText(Clock::now() - call.began) + ": " + why +
                       (isAnswering ? " while it answered" : " before it answered"));
  zevo::FileDescriptor connection = std::move(call.connection);
  if (!isAnswering) ownAnswers_.give(std::move(connection), problem);
}

}  // namespace host
