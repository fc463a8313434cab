// The properties of the terminal.
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

// Whether colours may be used on a terminal, given NO_COLOR and TERM of the environment (null if
// not set): not if NO_COLOR has a value, nor on a dumb or unknown terminal.
bool allowsColours(const char* noColor, const char* term);

// Whether the cursor can be moved on a terminal with this TERM.
bool movesCursor(const char* term);

// The character set of the environment's locale. Sets the character type of the process.
Charset charsetOfLocale();

}  // namespace cli
