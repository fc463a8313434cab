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

// The rows of `now` in their order, those missing in `before` marked as new. Between them, each
// after the connection that it followed, the rows that ended. Equal rows are counted separately.
std::vector<Row> markChanges(const std::vector<Connection>& before,
                             const std::vector<Connection>& now);

// The rows of one page: the connections `start` up to `start` + `limit`, not counting ended rows,
// and the ended rows between or after them. A `limit` of 0 means no limit.
std::vector<Row> pageOfRows(const std::vector<Row>& rows, int start, int limit);

}  // namespace cli
