// What changed between two reads of the list.
#pragma once

#include <vector>

#include "cli/client/connection.h"

namespace cli {

enum class Change { kNone, kCame, kWent };

struct Row {
  Change change = Change::kNone;
  Connection connection;

  bool operator==(const Row&) const = default;
};

// `connections` as rows without a change.
std::vector<Row> unchangedRows(const std::vector<Connection>& connections);

// The rows of `now` in their order, each that `before` lacks marked as come. Between them, each
// behind the connection that it followed, the rows that went. Several equal rows count one by one.
std::vector<Row> markChanges(const std::vector<Connection>& before,
                             const std::vector<Connection>& now);

// The rows of one page: those of the connections `start` up to `start` + `limit`, not counting rows
// that went, and of these the ones that stand between or behind them. A `limit` of 0 has no end.
std::vector<Row> pageOfRows(const std::vector<Row>& rows, int start, int limit);

}  // namespace cli
