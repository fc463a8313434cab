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
  int minimum;   // its cells are cut no further while another column can give way
  bool onRight;  // its cells stand on the right
  int dropRank;  // where even the minimums are too wide, the column with the greatest leaves first
};

// In the order in which they stand.
std::span<const Column> columns();

// The widths that `columns`, whose contents want the widths `wanted`, get in `available` terminal
// columns with kColumnGap between each two. 0 for a column that is left out; one always stays.
// `available` of 0 or less means that there is no bound.
std::vector<int> fitColumns(std::span<const Column> columns, std::vector<int> wanted,
                            int available);

inline constexpr int kColumnGap = 2;

}  // namespace cli
