#include "module/reference.h"

#include <algorithm>
#include <cctype>
#include <tuple>

namespace module_test {

namespace {

std::string upper(std::string text) {
  for (char& letter : text)
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  return text;
}

bool bothNfs(const Row& a, const Row& b) {
  return a.type == "NFS" && b.type == "NFS";
}

// One row for the run rows[begin] to rows[end - 1] of one service connection.
Row foldedService(const std::vector<Row>& rows, std::size_t begin, std::size_t end) {
  Row folded = rows[begin];
  for (std::size_t i = begin + 1; i < end; ++i) {
    if (rows[i].descr == rows[i - 1].descr) continue;
    folded.descr += ", " + rows[i].descr;
    folded.time = std::max(folded.time, rows[i].time);
  }
  return folded;
}

// The same for web logins.
Row foldedLogin(const std::vector<Row>& rows, std::size_t begin, std::size_t end) {
  Row folded = rows[begin];
  for (std::size_t i = begin + 1; i < end; ++i) {
    if (rows[i].pid != rows[i - 1].pid) folded.descr += ", " + rows[i].descr;
  }
  folded.pid = rows[end - 1].pid;
  return folded;
}

// Cuts `rows` into runs whose rows belong to the run's first, and folds each.
template <typename Belongs, typename Fold>
std::vector<Row> fold(const std::vector<Row>& rows, Belongs belongs, Fold foldRun) {
  std::vector<Row> folded;
  for (std::size_t begin = 0; begin < rows.size();) {
    std::size_t end = begin + 1;
    while (end < rows.size() && belongs(rows[begin], rows[end])) ++end;
    folded.push_back(foldRun(rows, begin, end));
    begin = end;
  }
  return folded;
}

std::string keyOf(const Row& row, const std::string& sortBy) {
  if (sortBy == "who") return row.who;
  if (sortBy == "from") return row.from;
  if (sortBy == "descr") return row.descr;
  if (sortBy == "type") return row.type;
  return row.time;
}

}  // namespace

std::vector<Row> rowsOf(const SessionList& list) {
  std::vector<Row> rows;
  for (const Session& session : list)
    rows.push_back(
        {session.pid, session.time, session.who, session.from, session.descr, session.type});
  return rows;
}

SessionList listOf(const std::vector<Row>& rows) {
  SessionList list;
  for (const Row& row : rows) {
    Session session;
    session.pid = row.pid;
    session.time = row.time;
    session.who = row.who;
    session.from = row.from;
    session.descr = row.descr;
    session.type = row.type;
    list.push_back(session);
  }
  return list;
}

std::vector<std::string> linesOf(const std::vector<Row>& rows) {
  std::vector<std::string> lines;
  for (const Row& row : rows)
    lines.push_back(std::to_string(row.pid) + "|" + row.time + "|" + row.who + "|" + row.from +
                    "|" + row.descr + "|" + row.type);
  return lines;
}

std::vector<Row> sortedServices(std::vector<Row> rows) {
  std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
    const std::string noAddress;
    const bool nfs = bothNfs(a, b);
    return std::tie(a.pid, nfs ? a.from : noAddress, a.descr) <
           std::tie(b.pid, nfs ? b.from : noAddress, b.descr);
  });
  return rows;
}

std::vector<Row> foldedServices(const std::vector<Row>& rows) {
  return fold(
      rows,
      [](const Row& a, const Row& b) {
        return a.pid == b.pid && !(bothNfs(a, b) && a.from != b.from);
      },
      foldedService);
}

std::vector<Row> sortedLogins(std::vector<Row> rows) {
  std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
    return std::tie(a.who, a.from, a.pid) < std::tie(b.who, b.from, b.pid);
  });
  return rows;
}

std::vector<Row> foldedLogins(const std::vector<Row>& rows) {
  return fold(
      rows, [](const Row& a, const Row& b) { return a.who == b.who && a.from == b.from; },
      foldedLogin);
}

std::vector<Row> filtered(const std::vector<Row>& rows, const std::string& filter) {
  const std::string needle = upper(filter);
  std::vector<Row> kept;
  for (const Row& row : rows) {
    bool found = false;
    for (const std::string& text : {row.who, row.from, row.type, row.descr, row.time})
      found = found || upper(text).find(needle) != std::string::npos;
    if (found) kept.push_back(row);
  }
  return kept;
}

std::vector<Row> sortedBy(std::vector<Row> rows, const std::string& sortBy,
                          const std::string& direction) {
  const bool ascending = upper(direction) == "ASC";
  std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
    return ascending ? keyOf(a, sortBy) < keyOf(b, sortBy) : keyOf(b, sortBy) < keyOf(a, sortBy);
  });
  return rows;
}

std::vector<Row> pageOf(const std::vector<Row>& rows, int start, int limit) {
  const std::int64_t length = limit > 0 ? limit : static_cast<std::int64_t>(rows.size());
  // Truncated to 32 bits, as the module's clients know it.
  const auto end = static_cast<std::int32_t>(start + length);
  std::vector<Row> page;
  for (std::int64_t i = 0; i < static_cast<std::int64_t>(rows.size()); ++i) {
    if (i >= start && i < end) page.push_back(rows[static_cast<std::size_t>(i)]);
  }
  return page;
}

}  // namespace module_test
