#include "fakes/system_log.h"

#include <cerrno>
#include <cstdio>

#include <gtest/gtest.h>

#include "fakes/allocation.h"
#include "fakes/platform.h"

// <syslog.h> stays out of this file: with FORTIFY it defines syslog itself, as a call of
// __syslog_chk.
extern "C" {

__attribute__((format(printf, 2, 3), visibility("default"))) void syslog(int priority,
                                                                         const char* format, ...);
__attribute__((format(printf, 3, 4), visibility("default"))) void __syslog_chk(int priority,
                                                                               int flag,
                                                                               const char* format,
                                                                               ...);

void syslog(int priority, const char* format, ...) {
  const fakes::AllocationPause pause;
  std::va_list arguments;
  va_start(arguments, format);
  fakes::Platform::current("syslog").systemLog.write(priority, format, arguments);
  va_end(arguments);
}

void __syslog_chk(int priority, int /*flag*/, const char* format, ...) {
  const fakes::AllocationPause pause;
  std::va_list arguments;
  va_start(arguments, format);
  fakes::Platform::current("syslog").systemLog.write(priority, format, arguments);
  va_end(arguments);
}

}  // extern "C"

namespace fakes {

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.priority << " [" << line.format << "] " << line.text;
}

SystemLog::~SystemLog() {
  for (std::size_t i = seen_; i < lines_.size(); ++i) {
    ADD_FAILURE() << "log line that the test does not expect: " << lines_[i];
  }
}

const std::vector<LogLine>& SystemLog::lines() {
  seen_ = lines_.size();
  return lines_;
}

std::vector<std::string> SystemLog::texts() {
  std::vector<std::string> texts;
  for (const LogLine& line : lines()) {
    texts.push_back(std::to_string(line.priority) + " " + line.text);
  }
  return texts;
}

__attribute__((format(printf, 3, 0))) void SystemLog::write(int priority, const char* format,
                                                            std::va_list arguments) {
  char text[8192];
  std::vsnprintf(text, sizeof text, format, arguments);
  lines_.push_back({priority, format, text});
  calls_.record("syslog(" + std::to_string(priority) + ", " + text + ")");
  if (onLine) onLine(lines_.back());
  errno = EDOM;
}

}  // namespace fakes
