// Tables: above all that of connections.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "cli/terminal/columns.h"
#include "cli/terminal/row_changes.h"
#include "cli/terminal/text.h"

namespace cli {

// How the output is to look.
struct Look {
  Charset charset = Charset::kUtf8;
  int width = 0;  // terminal columns; 0: as wide as the content
  bool colours = false;
  bool changes = false;  // a mark before each row: "+" for one that came, "-" for one that went
};

struct Table {
  std::vector<std::string> lines;    // the header first; without line breaks
  std::vector<std::string> leftOut;  // names of the columns for which there is no room
};

// No line is wider than `look.width`, escape sequences of colours not counted. Empty texts show as
// "-".
Table makeTable(const std::vector<Row>& rows, const Look& look);

// The same of other rows, each with a cell for each of `columns`.
Table makeTextTable(std::span<const Column> columns,
                    const std::vector<std::vector<std::string>>& rows, const Look& look);

}  // namespace cli
