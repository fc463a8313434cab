// What a watch shows, as lines of a screen.
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
  std::vector<std::string> warnings;  // on what it may lack
  std::vector<std::string> problem;   // why the latest read failed; empty where it did not
};

// At most `size.rows` lines, none wider than `size.columns`. Where not all rows fit, a line says
// how many more there are. A problem takes the place of the rows: they may be wrong by now.
std::vector<std::string> linesOfView(const WatchView& view, TerminalSize size, const Look& look);

}  // namespace cli
