#include "cli/terminal/question.h"

#include <cstddef>
#include <strings.h>
#include <unistd.h>

#include "cli/terminal/output.h"
#include "cli/terminal/text.h"

namespace cli {

bool canAsk() {
  return isatty(STDIN_FILENO) == 1;
}

bool ask(const std::string& question) {
  constexpr std::size_t kLongest = 80;
  writeAll(STDERR_FILENO, displayText(question, Charset::kUtf8) + " [y/N] ");
  std::string answer;
  char key = 0;
  while (answer.size() < kLongest && read(STDIN_FILENO, &key, 1) == 1 && key != '\n') answer += key;
  return strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0;
}

}  // namespace cli
