#include "table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "columns.h"
#include "kick_plan.h"
#include "style.h"

namespace cli {
namespace {

constexpr int kMarkWidth = 2;

using Cells = std::vector<std::string>;

Cells headerCells() {
  Cells cells;
  for (const Column& column : columns()) cells.emplace_back(column.name);
  return cells;
}

Cells cellsOf(const Connection& connection, Charset charset) {
  Cells cells;
  for (const Column& column : columns()) {
    std::string cell = displayText(column.cell(connection), charset);
    cells.push_back(cell.empty() ? "-" : std::move(cell));
  }
  return cells;
}

std::vector<int> contentWidths(const std::vector<Cells>& lines) {
  std::vector<int> widths(columns().size(), 0);
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(cells[i]));
    }
  }
  return widths;
}

std::string joinCells(const Cells& cells, const std::vector<int>& widths, Charset charset) {
  std::string line;
  int gap = 0;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (widths[i] == 0) continue;
    line.append(static_cast<std::size_t>(gap), ' ');
    line += padText(cutText(cells[i], widths[i], charset), widths[i], columns()[i].onRight);
    gap = kColumnGap;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::string_view markOf(Change change) {
  switch (change) {
    case Change::kCame:
      return "+ ";
    case Change::kWent:
      return "- ";
    case Change::kNone:
      break;
  }
  return "  ";
}

// A row that no kick can end is faint: kick itself says why.
Style styleOf(const Row& row) {
  switch (row.change) {
    case Change::kCame:
      return Style::kCame;
    case Change::kWent:
      return Style::kWent;
    case Change::kNone:
      break;
  }
  return whyNotEnded(row.connection).empty() ? Style::kPlain : Style::kFaint;
}

}  // namespace

Table makeTable(const std::vector<Row>& rows, const Look& look) {
  std::vector<Cells> cells = {headerCells()};
  cells.reserve(rows.size() + 1);
  for (const Row& row : rows) cells.push_back(cellsOf(row.connection, look.charset));

  const bool hasMarks = look.changes && (look.width == 0 || look.width > kMarkWidth);
  const int room = hasMarks && look.width > 0 ? look.width - kMarkWidth : look.width;
  const std::vector<int> widths = fitColumns(columns(), contentWidths(cells), room);

  Table table;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (widths[i] == 0) table.leftOut.emplace_back(columns()[i].name);
  }
  table.lines.reserve(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const Change change = i == 0 ? Change::kNone : rows[i - 1].change;
    const std::string mark(hasMarks ? markOf(change) : "");
    const Style style = i == 0 ? Style::kHeader : styleOf(rows[i - 1]);
    table.lines.push_back(
        styled(mark + joinCells(cells[i], widths, look.charset), style, look.colours));
  }
  return table;
}

}  // namespace cli
