// Tables: above all that of connections.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "cli/terminal/columns.h"
#include "cli/terminal/row_changes.h"
#include "cli/terminal/text.h"

namespace cli {

// The appearance of the output.
struct Look {
  Charset charset = Charset::kUtf8;
  int width = 0;  // terminal columns; 0: as wide as the content
  bool colours = false;
  bool changes = false;  // a mark before each row: "+" for a new one, "-" for one that ended
};

struct Table {
  std::vector<std::string> lines;    // the header first; without line breaks
  std::vector<std::string> leftOut;  // names of the columns that do not fit
};

// No line is wider than `look.width`, not counting colour escape sequences. Empty cells are shown
// as "-".
Table makeTable(const std::vector<Row>& rows, const Look& look);

// The same for other rows, each with one cell per column.
Table makeTextTable(std::span<const Column> columns,
                    const std::vector<std::vector<std::string>>& rows, const Look& look);

}  // namespace cli
