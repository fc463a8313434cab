#include "calls/log.h"

#include <cstdlib>
#include <poll.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "base/text.h"

namespace calls {
namespace {

constexpr int kSinkTimeout = 50;  // ms

struct Sink {
  const char* program = "currentconnd";
  LogTo where = LogTo::kStandardError;
  bool isJournal = false;
  JournalWriter writeToJournal = nullptr;
  pid_t owner = 0;  // who opened it: the daemon itself
};

Sink& sink() {
  static Sink value;
  return value;
}

// Whether standard error is the stream that systemd names in the environment.
bool isJournalStream() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status {};
  if (stream == nullptr || ::fstat(STDERR_FILENO, &status) != 0) return false;
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

}  // namespace

void openLog(const char* program, LogTo where, JournalWriter writer) {
  sink() = {program, where, where == LogTo::kStandardError && isJournalStream(), writer,
            ::getpid()};
  ::openlog(program, LOG_PID, LOG_DAEMON);
}

void logLine(int priority, const std::string& line) {
  if (sink().where == LogTo::kSystemLog) {
    if (priority <= LOG_WARNING) ::syslog(LOG_DAEMON | priority, "%s", line.c_str());
    return;
  }
  const std::string prefix =
      sink().isJournal ? "<" + std::to_string(LOG_PRI(priority)) + ">"
                       : std::string(sink().program) + "[" + std::to_string(::getpid()) + "]: ";
  const std::string text = prefix + line + "\n";
  // Calls matter more than their log lines: if nobody reads the lines, they are lost.
  pollfd taker{STDERR_FILENO, POLLOUT, 0};
  if (::poll(&taker, 1, kSinkTimeout) <= 0) return;
  // In one write, so that lines of several processes do not mix; a failure cannot be reported
  // anywhere.
  static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
}

void logAuthorisation(int priority, const std::string& line) {
  if (!sink().isJournal) {
    ::syslog(LOG_AUTHPRIV | priority, "%s", line.c_str());
    if (sink().where == LogTo::kStandardError) logLine(priority, line);
    return;
  }
  const JournalWriter write = sink().writeToJournal;
  if (write == nullptr || !write(sink().program, sink().owner, priority, line))
    logLine(priority, line);
}

std::string inQuotes(std::string_view text, std::size_t limit) {
  std::string shown = "\"";
  for (const char c : zevo::printable(text, limit)) {
    if (c == '"' || c == '\\') shown += '\\';
    shown += c;
  }
  return shown + '"';
}

}  // namespace calls
