#include "calls/child_calls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>
#include <utility>

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "calls/call_log.h"
#include "calls/method_call.h"

namespace calls {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBeforeNextTry{100};  // when no process can be created
constexpr std::chrono::seconds kTimeToDie{2};  // a process that waits for a disk may need longer

// The whole work of a child.
[[noreturn]] void serve(const ChildCall& call, pid_t parent, int output) {
  // Ending the parent, as the daemon does with a call that takes too long, ends this process too.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);
  const auto run = [&] { return runMethod(call.handler, call.context); };
  const Reply reply = call.summary.empty() ? run()
                                           : runLogged(call.summary, call.context.parameters,
                                                       call.context.isAdmin, run);
  // Without it the parent tells that the child died.
  static_cast<void>(zevo::writeAll(reply.bytes, output));
  std::fflush(nullptr);
  ::_exit(0);  // no destructors of the parent's objects
}

// The answer of a child that has closed its pipe.
MethodAnswer answerOf(pid_t child, const std::string& received) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFSIGNALED(status) || !received.empty()) return answerFromScgi(received);
  const int signal = WTERMSIG(status);
  return failedAnswer("the method ended by signal " + std::to_string(signal) + " (" +
                      ::strsignal(signal) + ") before it answered");
}

class Children {
 public:
  Children(const std::vector<ChildCall>& calls, const ChildTimes& times)
      : calls_(calls), times_(times), answers_(calls.size()) {}

  std::vector<std::optional<MethodAnswer>> run() {
    start();
    while (!running_.empty()) {
      wait();
      if (Clock::now() >= times_.end) endAll();
      if (Clock::now() >= times_.end + kTimeToDie) running_.clear();
      start();
    }
    return std::move(answers_);
  }

 private:
  struct Running {
    std::size_t index;
    pid_t pid;
    zevo::FileDescriptor output;
    std::string received = {};
    bool isLate = false;
  };

  [[nodiscard]] bool mayStart() const {
    return next_ < calls_.size() && running_.size() < kMostChildren &&
           Clock::now() < times_.lastStart;
  }

  void start() {
    while (mayStart()) {
      if (startOne()) {
        ++next_;
      } else if (!running_.empty()) {
        return;  // one that ends leaves room for the next
      } else {
        ::poll(nullptr, 0, static_cast<int>(kBeforeNextTry.count()));
      }
    }
  }

  bool startOne() {
    std::array<int, 2> ends = {};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return false;
    zevo::FileDescriptor ours(ends[0]);
    const zevo::FileDescriptor theirs(ends[1]);
    const pid_t parent = ::getpid();
    std::fflush(nullptr);  // both processes would write buffered text
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) serve(calls_[next_], parent, theirs.get());
    ::fcntl(ours.get(), F_SETFL, O_NONBLOCK);
    running_.push_back({next_, child, std::move(ours)});
    return true;
  }

  void wait() {
    std::vector<pollfd> waiting;
    waiting.reserve(running_.size());
    for (const Running& child : running_) waiting.push_back({child.output.get(), POLLIN, 0});
    const Clock::time_point now = Clock::now();
    const auto until = now < times_.end ? times_.end : times_.end + kTimeToDie;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - now).count();
    ::poll(waiting.data(), waiting.size(), static_cast<int>(std::max<decltype(left)>(left, 0)));
    std::erase_if(running_, [this](Running& child) { return !takeOutput(child); });
  }

  // False once the child has ended and its answer has been read.
  bool takeOutput(Running& child) {
    std::array<char, 65536> bytes{};
    for (;;) {
      const ssize_t got = ::read(child.output.get(), bytes.data(), bytes.size());
      if (got > 0) child.received.append(bytes.data(), static_cast<std::size_t>(got));
      if (got < 0 && errno == EAGAIN) return true;
      if (got == 0 || (got < 0 && errno != EINTR)) break;
    }
    MethodAnswer answer = answerOf(child.pid, child.received);
    if (!child.isLate) answers_[child.index] = std::move(answer);
    return false;
  }

  void endAll() {
    for (Running& child : running_) {
      child.isLate = true;
      answers_[child.index] = failedAnswer("the method did not finish in time");
      ::kill(child.pid, SIGKILL);
    }
  }

  const std::vector<ChildCall>& calls_;
  const ChildTimes times_;
  std::vector<std::optional<MethodAnswer>> answers_;
  std::vector<Running> running_;
  std::size_t next_ = 0;
};

}  // namespace

std::vector<std::optional<MethodAnswer>> callInChildren(const std::vector<ChildCall>& calls,
                                                        const ChildTimes& times) {
  return Children(calls, times).run();
}

}  // namespace calls
