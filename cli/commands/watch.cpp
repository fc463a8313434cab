#include "cli/commands/watch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "cli/client/connection.h"
#include "cli/commands/failure.h"
#include "cli/commands/summary.h"
#include "cli/commands/warnings.h"
#include "cli/commands/watch_view.h"
#include "cli/terminal/output.h"
#include "cli/terminal/screen.h"
#include "cli/terminal/signals.h"

namespace cli {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The pause between two reads if reads take longer than the interval.
constexpr milliseconds kLeastPause{100};

class Watch {
 public:
  Watch(const Listing& listing, Client& client)
      : listing_(listing), whole_(listing), client_(client) {
    // Rows that only move to another page are neither new nor ended, so every read is complete.
    whole_.start.reset();
    whole_.limit.reset();
    view_.interval = *listing.watch;
    look_.charset = charsetOfLocale();
    look_.colours = allowsColours(std::getenv("NO_COLOR"), std::getenv("TERM"));
  }

  ExitCode run() {
    while (!exit_) step();
    if (call_) call_->giveUp();
    screen_.leave();
    complainOf(failure_);
    return *exit_;
  }

 private:
  static void complainOf(const Failure& failure) {
    if (!failure.lines.empty()) complain(failure.lines);
  }

  void end(ExitCode code) { exit_ = code; }

  // Waits for the next event and handles it.
  void step() {
    std::array<pollfd, 3> waiting = {{{signals_.descriptor(), POLLIN, 0},
                                      {isTyping_ ? STDIN_FILENO : -1, POLLIN, 0},
                                      {call_ ? call_->descriptor() : -1, POLLIN, 0}}};
    const int ready =
        poll(waiting.data(), waiting.size(), call_ ? call_->timeout() : untilNextRead());
    if (ready < 0 && errno != EINTR) {
      failure_ = {kExitFailed, {"cannot wait for the next read"}};
      return end(kExitFailed);
    }
    if (ready > 0 && waiting[0].revents != 0) takeSignals();
    if (ready > 0 && waiting[1].revents != 0) takeKeys();
    if (call_) takeAnswer();
    if (!exit_ && !call_ && untilNextRead() == 0) startRead();
  }

  int untilNextRead() const {
    const auto left = std::chrono::ceil<milliseconds>(nextRead_ - Clock::now());
    return static_cast<int>(std::max(left, milliseconds(0)).count());
  }

  void takeSignals() {
    while (const std::optional<int> number = signals_.take()) {
      if (*number == SIGWINCH) {
        draw();
      } else if (*number == SIGTSTP) {
        pause();
      } else {
        end(kExitDone);
      }
    }
  }

  // Ctrl-Z: returns the terminal to the shell, and takes it again in the foreground.
  void pause() {
    const bool wasShown = isShown_;
    screen_.leave();
    kill(getpid(), SIGSTOP);
    if (wasShown) screen_.enter();
    draw();
  }

  void takeKeys() {
    std::array<char, 64> keys;
    const ssize_t count = read(STDIN_FILENO, keys.data(), keys.size());
    if (count <= 0) isTyping_ = false;
    for (ssize_t i = 0; i < count; ++i) {
      if (keys[static_cast<std::size_t>(i)] == 'q') end(kExitDone);
    }
  }

  void startRead() {
    nextRead_ = Clock::now() + view_.interval;
    zevo::Result<PendingCall> call = client_.begin(methodOf(whole_), parametersOf(whole_));
    if (call) {
      call_.emplace(std::move(*call));
    } else {
      show(failedAnswer(call.error().sentence));
    }
  }

  void takeAnswer() {
    const std::optional<Answer> answer = call_->advance();
    if (!answer) return;
    call_.reset();
    nextRead_ = std::max(nextRead_, Clock::now() + kLeastPause);
    show(*answer);
  }

  void show(const Answer& answer) {
    std::optional<Page> page;
    if (answer.status == Answer::Status::kDone) page = parsePage(answer.data);
    view_.warnings = warningLines(answer.warnings);
    view_.problem.clear();
    if (page) {
      take(std::move(*page));
    } else {
      Failure failure = explainListFailure(answer, listing_);
      // A failure of the first read is not temporary.
      if (!isShown_) {
        failure_ = std::move(failure);
        return end(failure_.exitCode);
      }
      view_.problem = std::move(failure.lines);
    }
    isShown_ = true;
    screen_.enter();
    draw();
  }

  void take(Page page) {
    const std::vector<Row> rows =
        isShown_ ? markChanges(before_, page.connections) : unchangedRows(page.connections);
    before_ = page.connections;
    view_.rows = pageOfRows(rows, listing_.start.value_or(0), listing_.limit.value_or(0));
    view_.systime = page.systime;
    page.connections.clear();
    for (const Row& row : view_.rows) {
      if (row.change != Change::kWent) page.connections.push_back(row.connection);
    }
    view_.summary = summaryOf(page, listing_, look_.charset);
  }

  void draw() {
    if (!isShown_) return;
    if (!screen_.draw(linesOfView(view_, terminalSize(STDOUT_FILENO), look_))) end(kExitFailed);
  }

  const Listing& listing_;
  Listing whole_;
  Client& client_;
  Signals signals_{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH, SIGTSTP};
  Screen screen_{STDIN_FILENO, STDOUT_FILENO};
  Look look_;
  WatchView view_;
  std::vector<Connection> before_;
  std::optional<PendingCall> call_;
  Clock::time_point nextRead_ = Clock::now();
  bool isTyping_ = isatty(STDIN_FILENO) == 1;
  bool isShown_ = false;
  std::optional<ExitCode> exit_;
  Failure failure_;
};

}  // namespace

ExitCode watch(const Listing& listing, Client& client) {
  return Watch(listing, client).run();
}

}  // namespace cli
