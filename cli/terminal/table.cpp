#include "cli/terminal/table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "calls/enforce/kick_plan.h"
#include "cli/terminal/columns.h"
#include "cli/terminal/style.h"

namespace cli {
namespace {

constexpr int kMarkWidth = 2;

using Cells = std::vector<std::string>;

Cells headerCells(std::span<const Column> columns) {
  Cells cells;
  for (const Column& column : columns) cells.emplace_back(column.name);
  return cells;
}

std::string shownCell(const std::string& text, Charset charset) {
  std::string cell = displayText(text, charset);
  return cell.empty() ? "-" : cell;
}

Cells cellsOf(const Connection& connection, Charset charset) {
  Cells cells;
  for (const Column& column : columns()) {
    cells.push_back(shownCell(column.cell(connection), charset));
  }
  return cells;
}

std::vector<int> contentWidths(const std::vector<Cells>& lines) {
  std::vector<int> widths(lines.front().size(), 0);
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(cells[i]));
    }
  }
  return widths;
}

std::string joinCells(std::span<const Column> columns, const Cells& cells,
                      const std::vector<int>& widths, Charset charset) {
  std::string line;
  int gap = 0;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (widths[i] == 0) continue;
    line.append(static_cast<std::size_t>(gap), ' ');
    line += padText(cutText(cells[i], widths[i], charset), widths[i], columns[i].onRight);
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

// A row that a kick cannot end is dimmed; kick itself says why.
Style styleOf(const Row& row) {
  switch (row.change) {
    case Change::kCame:
      return Style::kCame;
    case Change::kWent:
      return Style::kWent;
    case Change::kNone:
      break;
  }
  return calls::enforce::whyNotEnded(row.connection) ? Style::kFaint : Style::kPlain;
}

// The prefix of a line, and its style.
struct Trim {
  std::string_view mark;
  Style style = Style::kPlain;
};

// `cells` with the header first, and a trim for each of them.
Table layOut(std::span<const Column> columns, const std::vector<Cells>& cells,
             const std::vector<Trim>& trims, const Look& look) {
  const int marks = static_cast<int>(trims.front().mark.size());
  const int room = look.width > 0 ? look.width - marks : look.width;
  const std::vector<int> widths = fitColumns(columns, contentWidths(cells), room);
  Table table;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (widths[i] == 0) table.leftOut.emplace_back(columns[i].name);
  }
  table.lines.reserve(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string line = joinCells(columns, cells[i], widths, look.charset);
    table.lines.push_back(styled(std::string(trims[i].mark) + line, trims[i].style, look.colours));
  }
  return table;
}

}  // namespace

Table makeTable(const std::vector<Row>& rows, const Look& look) {
  const bool hasMarks = look.changes && (look.width == 0 || look.width > kMarkWidth);
  const auto mark = [&](Change change) { return hasMarks ? markOf(change) : ""; };
  std::vector<Cells> cells = {headerCells(columns())};
  std::vector<Trim> trims = {{mark(Change::kNone), Style::kHeader}};
  cells.reserve(rows.size() + 1);
  trims.reserve(rows.size() + 1);
  for (const Row& row : rows) {
    cells.push_back(cellsOf(row.connection, look.charset));
    trims.push_back({mark(row.change), styleOf(row)});
  }
  return layOut(columns(), cells, trims, look);
}

Table makeTextTable(std::span<const Column> columns,
                    const std::vector<std::vector<std::string>>& rows, const Look& look) {
  std::vector<Cells> cells = {headerCells(columns)};
  std::vector<Trim> trims = {{"", Style::kHeader}};
  for (const Cells& row : rows) {
    Cells shown;
    for (const std::string& text : row) shown.push_back(shownCell(text, look.charset));
    cells.push_back(std::move(shown));
    trims.push_back({"", Style::kPlain});
  }
  return layOut(columns, cells, trims, look);
}

}  // namespace cli
