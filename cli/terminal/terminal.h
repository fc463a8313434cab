// What the output is connected to.
#pragma once

#include "cli/terminal/text.h"

namespace cli {

struct TerminalSize {
  int columns = 80;
  int rows = 24;
};

// Of the terminal at `descriptor`: what the kernel knows, else COLUMNS and LINES of the
// environment, else 80 by 24.
TerminalSize terminalSize(int descriptor);

// Whether colours may be used on a terminal, given NO_COLOR and TERM of the environment (null where
// they are not set): not where NO_COLOR holds anything, nor on a terminal that is dumb or unknown.
bool allowsColours(const char* noColor, const char* term);

// Whether the cursor can be moved on a terminal of that TERM.
bool movesCursor(const char* term);

// What the locale of the environment can write. Makes its character type the process's.
Charset charsetOfLocale();

}  // namespace cli
