#include "cli/terminal/row_changes.h"

#include <cstddef>
#include <map>
#include <string>
#include <tuple>

namespace cli {
namespace {

using Identity = std::tuple<std::uint32_t, std::string, std::string, std::string>;

Identity identityOf(const Connection& connection) {
  return {connection.pid, connection.who, connection.from, connection.type};
}

std::map<Identity, int> countEach(const std::vector<Connection>& connections) {
  std::map<Identity, int> counts;
  for (const Connection& connection : connections) ++counts[identityOf(connection)];
  return counts;
}

// Decrements the count of the connection's identity; false if it is 0.
bool takeOne(const Connection& connection, std::map<Identity, int>* counts) {
  const auto found = counts->find(identityOf(connection));
  if (found == counts->end() || found->second == 0) return false;
  --found->second;
  return true;
}

// The connections that ended, by the number of remaining connections before them, and the remaining
// ones, in the order of `before`.
struct Departures {
  std::vector<Connection> ahead;                       // ended, before any that remained
  std::map<Identity, std::vector<Connection>> behind;  // ended, after one that remained
};

Departures findDepartures(const std::vector<Connection>& before,
                          const std::vector<Connection>& now) {
  std::map<Identity, int> present = countEach(now);
  Departures departures;
  std::vector<Connection>* place = &departures.ahead;
  for (const Connection& connection : before) {
    if (takeOne(connection, &present)) {
      place = &departures.behind[identityOf(connection)];
    } else {
      place->push_back(connection);
    }
  }
  return departures;
}

void appendDeparted(const std::vector<Connection>& departed, std::vector<Row>* rows) {
  for (const Connection& connection : departed) rows->push_back({Change::kWent, connection});
}

}  // namespace

std::vector<Row> unchangedRows(const std::vector<Connection>& connections) {
  std::vector<Row> rows;
  rows.reserve(connections.size());
  for (const Connection& connection : connections) rows.push_back({Change::kNone, connection});
  return rows;
}

std::vector<Row> markChanges(const std::vector<Connection>& before,
                             const std::vector<Connection>& now) {
  std::map<Identity, int> known = countEach(before);
  Departures departures = findDepartures(before, now);
  std::vector<Row> rows;
  appendDeparted(departures.ahead, &rows);
  for (const Connection& connection : now) {
    const bool isKnown = takeOne(connection, &known);
    rows.push_back({isKnown ? Change::kNone : Change::kCame, connection});
    const auto behind = departures.behind.find(identityOf(connection));
    if (behind == departures.behind.end()) continue;
    appendDeparted(behind->second, &rows);
    departures.behind.erase(behind);
  }
  return rows;
}

std::vector<Row> pageOfRows(const std::vector<Row>& rows, int start, int limit) {
  std::vector<Row> page;
  long long number = -1;
  const long long end = limit > 0 ? static_cast<long long>(start) + limit : -1;
  for (const Row& row : rows) {
    if (row.change != Change::kWent) ++number;
    if (start > 0 && number < start) continue;
    if (end >= 0 && number >= end) break;
    page.push_back(row);
  }
  return page;
}

}  // namespace cli
