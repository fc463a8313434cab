// Tables and texts on standard output.
#pragma once

#include <string>
#include <vector>

#include "cli/client/connection.h"
#include "cli/exit_code.h"
#include "cli/terminal/table.h"

namespace cli {

// The appearance that suits standard output.
Look lookOfOutput();

// `table`, with a line on the columns that do not fit, if any.
std::string tableText(const Table& table);
// The table of `connections`, with a line on the columns that do not fit, if any.
std::string tableText(const std::vector<Connection>& connections, const Look& look);

// `lines`, one below the other, without control characters.
std::string linesText(const std::vector<std::string>& lines, Charset charset);

// Writes `text` to standard output, or reports the failure on standard error.
ExitCode printText(const std::string& text);

}  // namespace cli
