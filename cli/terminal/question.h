// A question to the person at the terminal.
#pragma once

#include <string>

namespace cli {

// Whether somebody can be asked: standard input is a terminal.
bool canAsk();

// Writes `question` to standard error and reads the answer: true for "y" or "yes" only, in any
// letter case.
bool ask(const std::string& question);

}  // namespace cli
