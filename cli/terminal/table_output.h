// Tables and texts on standard output.
#pragma once

#include <string>
#include <vector>

#include "cli/client/connection.h"
#include "cli/exit_code.h"
#include "cli/terminal/table.h"

namespace cli {

// How output looks on what standard output is connected to.
Look lookOfOutput();

// `table` with a line on the columns for which there is no room, if any.
std::string tableText(const Table& table);
// The table of `connections` with a line on the columns for which there is no room, if any.
std::string tableText(const std::vector<Connection>& connections, const Look& look);

// `lines`, one below the other, without what a terminal obeys.
std::string linesText(const std::vector<std::string>& lines, Charset charset);

// Writes `text` to standard output, or says on standard error why that failed.
ExitCode printText(const std::string& text);

}  // namespace cli
