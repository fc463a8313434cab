#include "cli/client/side_by_side.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

#include "cli/terminal/signals.h"

namespace cli {
namespace {

constexpr int kTickMs = 1000;

struct Running {
  std::size_t index;
  PendingCall call;
};

class SideBySide {
 public:
  SideBySide(Client& client, const std::vector<Call>& calls)
      : client_(client), calls_(calls), answers_(calls.size()) {}

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
      zevo::Result<PendingCall> begun = client_.begin(call.method, call.parameters);
      if (begun) {
        running_.push_back({next_, std::move(*begun)});
      } else {
        take(next_, failedAnswer(begun.error().sentence));
      }
      ++next_;
    }
  }

  void take(std::size_t index, Answer answer) {
    answers_[index] = std::move(answer);
    ++done_;
  }

  void wait() {
    std::vector<pollfd> waiting = {{signals_.descriptor(), POLLIN, 0}};
    for (const Running& running : running_)
      waiting.push_back({running.call.descriptor(), POLLIN, 0});
    poll(waiting.data(), waiting.size(), kTickMs);
    takeSignals();
    std::vector<Running> left;
    for (std::size_t i = 0; i < running_.size(); ++i) {
      std::optional<Answer> answer = running_[i].call.advance();
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

  Client& client_;
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
    Client& client, const std::vector<Call>& calls,
    const std::function<void(std::size_t)>& isWaiting) {
  return SideBySide(client, calls).run(isWaiting);
}

}  // namespace cli
