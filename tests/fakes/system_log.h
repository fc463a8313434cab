// The system log.
#pragma once

#include <cstdarg>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "fakes/calls.h"

namespace fakes {

struct LogLine {
  int priority;
  std::string format;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Lines that the test never looks at fail it. Writing a line changes errno, as it does in reality.
class SystemLog {
 public:
  explicit SystemLog(Calls& calls) : calls_(calls) {}
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  // Called with each line, where it is set.
  std::function<void(const LogLine&)> onLine;

  // All lines so far.
  const std::vector<LogLine>& lines();
  // Their texts, with the priority before them: "3 main:620 Failed to get current log."
  std::vector<std::string> texts();

  void write(int priority, const char* format, std::va_list arguments);

 private:
  Calls& calls_;
  std::vector<LogLine> lines_;
  std::size_t seen_ = 0;
};

}  // namespace fakes
