// The lines of the screen in --watch.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "cli/terminal/row_changes.h"
#include "cli/terminal/table.h"
#include "cli/terminal/terminal.h"

namespace cli {

struct WatchView {
  std::chrono::milliseconds interval{0};
  std::string systime;                // of the last read that succeeded
  std::vector<Row> rows;              // of that read
  std::string summary;                // on that read
  std::vector<std::string> warnings;  // on what the list may lack
  std::vector<std::string> problem;   // why the latest read failed; empty if it succeeded
};

// At most `size.rows` lines, none wider than `size.columns`. If not all rows fit, a line gives the
// number of the others. A problem replaces the rows, which may be outdated.
std::vector<std::string> linesOfView(const WatchView& view, TerminalSize size, const Look& look);

}  // namespace cli
