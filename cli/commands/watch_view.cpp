#include "cli/commands/watch_view.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace cli {
namespace {

using Lines = std::vector<std::string>;

std::string secondsOf(std::chrono::milliseconds interval) {
  std::string text = std::to_string(interval.count() / 1000);
  std::string fraction = std::to_string(1000 + interval.count() % 1000).substr(1);
  fraction.erase(fraction.find_last_not_of('0') + 1);
  return fraction.empty() ? text : text + "." + fraction;
}

std::string titleOf(const WatchView& view) {
  return "every " + secondsOf(view.interval) + " s   " + view.systime + "   Ctrl-C quits";
}

// At most `room` of `lines`; if there are more, the last line gives the number of the others.
Lines firstOf(Lines lines, std::size_t room, const auto& fitted) {
  if (lines.size() <= room) return lines;
  if (room == 0) return {};
  const std::size_t hidden = lines.size() - (room - 1);
  lines.resize(room - 1);
  lines.push_back(fitted(std::to_string(hidden) + " more rows; enlarge the window"));
  return lines;
}

std::string leftOutNote(const Table& table) {
  std::string note;
  for (const std::string& name : table.leftOut) {
    note += note.empty() ? "; too narrow for " : ", ";
    note += name;
  }
  return note;
}

}  // namespace

std::vector<std::string> linesOfView(const WatchView& view, TerminalSize size, const Look& look) {
  const auto rows = static_cast<std::size_t>(std::max(size.rows, 1));
  const auto fitted = [&](const std::string& text) {
    return cutText(displayText(text, look.charset), size.columns, look.charset);
  };
  Lines head = {fitted(titleOf(view))};
  Lines body;
  Lines foot;
  if (view.problem.empty()) {
    for (const std::string& line : view.warnings) head.push_back(fitted(line));
  }
  if (!view.problem.empty()) {
    for (const std::string& line : view.problem) body.push_back(fitted(line));
  } else {
    Look tableLook = look;
    tableLook.width = size.columns;
    tableLook.changes = true;
    Table table = makeTable(view.rows, tableLook);
    foot.push_back(fitted(view.summary + (view.rows.empty() ? "" : leftOutNote(table))));
    if (!view.rows.empty()) body = std::move(table.lines);
  }
  if (rows <= head.size() + foot.size()) head.clear();
  Lines lines = std::move(head);
  const std::size_t room = rows - lines.size() - foot.size();
  for (std::string& line : firstOf(std::move(body), room, fitted)) {
    lines.push_back(std::move(line));
  }
  lines.insert(lines.end(), foot.begin(), foot.end());
  return lines;
}

}  // namespace cli
