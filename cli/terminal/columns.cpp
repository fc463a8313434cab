#include "cli/terminal/columns.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "host/service_table.h"

namespace cli {
namespace {

// A time as the services write it, "2026-11-20 21:26:24"; it is useless if truncated.
constexpr int kTimeWidth = 19;
// Digits of the greatest pid.
constexpr int kPidWidth = 7;

// "CIFS, AFP, ...".
const char* serviceNames() {
  static const std::string names =
      zevo::enumerateServices([](const zevo::ListedService& service) { return service.name; });
  return names.c_str();
}

const std::array<Column, 6>& allColumns() {
  static const std::array<Column, 6> columns = {{
      {"USER", "the account, as the service knows it", [](const Connection& c) { return c.who; }, 6,
       false, 0},
      {"SERVICE", serviceNames(), [](const Connection& c) { return c.type; }, 4, false, 1},
      {"FROM", "the client's address", [](const Connection& c) { return c.from; }, 6, false, 2},
      {"SINCE", "when it began, in the server's local time",
       [](const Connection& c) { return c.time; }, kTimeWidth, false, 5},
      {"RESOURCE", "what is in use: share, directory, terminal",
       [](const Connection& c) { return c.descr; }, 6, false, 4},
      {"PID", "the process that serves it",
       [](const Connection& c) { return std::to_string(c.pid); }, kPidWidth, true, 3},
  }};
  return columns;
}

// The total width of all shown columns, by `width`, with the gaps.
template <typename Width>
int totalWidth(const std::vector<bool>& isLeftOut, Width width) {
  int total = 0;
  int count = 0;
  for (std::size_t i = 0; i < isLeftOut.size(); ++i) {
    if (isLeftOut[i]) continue;
    total += width(i);
    ++count;
  }
  return count == 0 ? 0 : total + (count - 1) * kColumnGap;
}

std::size_t nextToLeave(std::span<const Column> columns, const std::vector<bool>& isLeftOut) {
  std::size_t next = columns.size();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (isLeftOut[i]) continue;
    if (next == columns.size() || columns[i].dropRank > columns[next].dropRank) next = i;
  }
  return next;
}

// The widest column that can still be narrowed; of several the last, so that RESOURCE is narrowed
// before FROM, and FROM before USER.
std::size_t nextToShrink(const std::vector<int>& widths, const std::vector<int>& minimums,
                         const std::vector<bool>& isLeftOut) {
  std::size_t next = widths.size();
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (isLeftOut[i] || widths[i] <= minimums[i]) continue;
    if (next == widths.size() || widths[i] >= widths[next]) next = i;
  }
  return next;
}

}  // namespace

std::span<const Column> columns() {
  return allColumns();
}

std::vector<int> fitColumns(std::span<const Column> columns, std::vector<int> wanted,
                            int available) {
  if (available <= 0) return wanted;
  std::vector<int> minimums(wanted.size());
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    minimums[i] = std::min(wanted[i], columns[i].minimum);
  }
  std::vector<bool> isLeftOut(wanted.size(), false);
  std::size_t kept = wanted.size();
  while (kept > 1 &&
         totalWidth(isLeftOut, [&](std::size_t i) { return minimums[i]; }) > available) {
    isLeftOut[nextToLeave(columns, isLeftOut)] = true;
    --kept;
  }
  if (kept == 1) std::fill(minimums.begin(), minimums.end(), 1);
  while (totalWidth(isLeftOut, [&](std::size_t i) { return wanted[i]; }) > available) {
    const std::size_t next = nextToShrink(wanted, minimums, isLeftOut);
    if (next == wanted.size()) break;
    --wanted[next];
  }
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (isLeftOut[i]) wanted[i] = 0;
  }
  return wanted;
}

}  // namespace cli
