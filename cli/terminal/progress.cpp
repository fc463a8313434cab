#include "cli/terminal/progress.h"

#include <cstdlib>
#include <unistd.h>
#include <utility>

#include "cli/terminal/output.h"
#include "cli/terminal/terminal.h"
#include "cli/terminal/text.h"

namespace cli {
namespace {

void writeError(const std::string& text) {
  writeAll(STDERR_FILENO, text);
}

constexpr const char* kTakeLineAway = "\r\x1b[K";

}  // namespace

Progress::Progress(std::string what)
    : what_(std::move(what)),
      isTerminal_(isatty(STDERR_FILENO) == 1 && movesCursor(std::getenv("TERM"))) {}

Progress::~Progress() {
  if (isShown_ && isTerminal_) writeError(kTakeLineAway);
}

void Progress::show() {
  if (!isTerminal_) {
    if (!isShown_) writeError(what_ + " ...\n");
    isShown_ = true;
    return;
  }
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin_);
  const std::string line = what_ + ": " + std::to_string(seconds.count()) + " s";
  const int columns = terminalSize(STDERR_FILENO).columns;
  writeError(kTakeLineAway + cutText(line, columns - 1, Charset::kAscii));
  isShown_ = true;
}

}  // namespace cli
