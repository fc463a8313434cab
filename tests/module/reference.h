// Merging, filtering, sorting and paging a second time, over vectors and in plain steps, to compare
// with the module on random lists. Shares no code with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "session/session.h"

namespace module_test {

struct Row {
  std::uint32_t pid;
  std::string time, who, from, descr, type;
};

std::vector<Row> rowsOf(const SessionList& list);
SessionList listOf(const std::vector<Row>& rows);
// "pid|time|who|from|descr|type"
std::vector<std::string> linesOf(const std::vector<Row>& rows);

std::vector<Row> sortedServices(std::vector<Row> rows);
std::vector<Row> foldedServices(const std::vector<Row>& rows);
std::vector<Row> sortedLogins(std::vector<Row> rows);
std::vector<Row> foldedLogins(const std::vector<Row>& rows);

std::vector<Row> filtered(const std::vector<Row>& rows, const std::string& filter);
std::vector<Row> sortedBy(std::vector<Row> rows, const std::string& sortBy,
                          const std::string& direction);
std::vector<Row> pageOf(const std::vector<Row>& rows, int start, int limit);

}  // namespace module_test
