#include "cli/terminal/output.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "base/file_failure.h"
#include "cli/terminal/text.h"

namespace cli {
namespace {

// The owner may have made the descriptor non-blocking, such as the pipe of an event loop.
void waitUntilWritable(int descriptor) {
  pollfd waiting = {descriptor, POLLOUT, 0};
  poll(&waiting, 1, -1);
}

}  // namespace

Written writeAll(int descriptor, std::string_view text, std::string* cause) {
  std::signal(SIGPIPE, SIG_IGN);
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      waitUntilWritable(descriptor);
    } else if (errno == EPIPE) {
      return Written::kReaderGone;
    } else if (errno != EINTR) {
      if (cause) *cause = zevo::errorText(errno);
      return Written::kFailed;
    }
  }
  return Written::kAll;
}

void occupyStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // This is the lowest free descriptor: those below it are open.
    const int mode = descriptor == STDOUT_FILENO ? O_RDONLY : O_RDWR;
    if (open("/dev/null", mode) != descriptor) _exit(1);
  }
}

void complain(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += text.empty() ? "currentconn: " : "  ";
    text += displayText(line, Charset::kUtf8) + "\n";
  }
  // If standard error fails, there is nowhere left to report it.
  writeAll(STDERR_FILENO, text);
}

void complain(const std::string& line) {
  complain(std::vector<std::string>{line});
}

}  // namespace cli
