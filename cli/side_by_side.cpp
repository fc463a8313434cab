#include "side_by_side.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "forked_call.h"
#include "signals.h"

namespace cli {
namespace {

constexpr int kTickMs = 1000;

struct Running {
  std::size_t index;
  ForkedCall call;
};

class SideBySide {
 public:
  SideBySide(Backend& backend, const std::vector<Call>& calls)
      : backend_(backend), calls_(calls), answers_(calls.size()) {}

  std::vector<std::optional<Answer>> run(const std::function<void(std::size_t)>& isWaiting) {
    startCalls();
    isWaiting(done_);
    while (!running_.empty()) {
      wait();
      startCalls();
      isWaiting(done_);
    }
    return std::move(answers_);
  }

 private:
  void startCalls() {
    while (!isInterrupted_ && next_ < calls_.size() && running_.size() < kMostCalls) {
      const Call& call = calls_[next_];
      std::string cause;
      std::optional<ForkedCall> started =
          ForkedCall::start(backend_, call.method, call.parameters, {Bond::kGoesOn}, &cause);
      if (started) {
        running_.push_back({next_, std::move(*started)});
      } else {
        take(next_, failedAnswer(std::move(cause)));
      }
      ++next_;
    }
  }

  void take(std::size_t index, Answer answer) {
    if (answer.status == Answer::Status::kFailed) {
      backend_.noteUnanswered(calls_[index].method, calls_[index].parameters, answer);
    }
    answers_[index] = std::move(answer);
    ++done_;
  }

  void wait() {
    std::vector<pollfd> waiting = {{signals_.descriptor(), POLLIN, 0}};
    for (const Running& running : running_)
      waiting.push_back({running.call.descriptor(), POLLIN, 0});
    if (poll(waiting.data(), waiting.size(), kTickMs) <= 0) return;
    if (waiting[0].revents != 0) takeSignals();
    std::vector<Running> left;
    for (std::size_t i = 0; i < running_.size(); ++i) {
      std::optional<Answer> answer;
      if (waiting[i + 1].revents != 0) answer = running_[i].call.advance();
      if (answer) {
        take(running_[i].index, std::move(*answer));
      } else {
        left.push_back(std::move(running_[i]));
      }
    }
    running_ = std::move(left);
  }

  void takeSignals() {
    while (const std::optional<int> number = signals_.take()) {
      if (isInterrupted_) {
        std::signal(*number, SIG_DFL);
        _exit(128 + *number);
      }
      isInterrupted_ = true;
    }
  }

  Backend& backend_;
  const std::vector<Call>& calls_;
  Signals signals_{SIGINT, SIGTERM};
  std::vector<std::optional<Answer>> answers_;
  std::vector<Running> running_;
  std::size_t next_ = 0;
  std::size_t done_ = 0;
  bool isInterrupted_ = false;
};

}  // namespace

std::vector<std::optional<Answer>> callSideBySide(
    Backend& backend, const std::vector<Call>& calls,
    const std::function<void(std::size_t)>& isWaiting) {
  return SideBySide(backend, calls).run(isWaiting);
}

}  // namespace cli
