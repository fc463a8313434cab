// The columns of the table of connections.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "cli/client/connection.h"

namespace cli {

struct Column {
  const char* name;
  const char* help;
  std::string (*cell)(const Connection& connection);  // null in tables of other things
  int minimum;   // its cells are truncated no further while another column can be
  bool onRight;  // its cells are right-aligned
  int dropRank;  // if even the minimums are too wide, the greatest is left out first
};

// In the order of display.
std::span<const Column> columns();

// The widths of `columns`, whose contents need the widths `wanted`, in `available` terminal columns
// with kColumnGap between them. 0 for a column that is left out; one column always remains.
// `available` of 0 or less means no limit.
std::vector<int> fitColumns(std::span<const Column> columns, std::vector<int> wanted,
                            int available);

inline constexpr int kColumnGap = 2;

}  // namespace cli
