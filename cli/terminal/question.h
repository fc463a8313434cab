// A question to the person at the terminal.
#pragma once

#include <string>

namespace cli {

// Whether it is possible to ask: standard input is a terminal.
bool canAsk();

// Writes `question` to standard error and reads the answer: true only for "y" or "yes", ignoring
// case.
bool ask(const std::string& question);

}  // namespace cli
