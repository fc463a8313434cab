// The plan of a kick.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <json/value.h>

#include "calls/enforce/snapshot.h"
#include "host/open_files.h"

namespace calls::enforce {

// {"reason": key}; callers may add values.
Json::Value reason(const char* key);

// Why a connection can never be ended; null if it can: no_process, console, unknown_service,
// unknown_process.
const char* whyOutOfReach(const Connection& connection);
// Why a connection cannot be ended individually; in addition to those: unknown_user,
// unknown_address.
const char* whyNotEnded(const Connection& connection);

// The caller's own connection.
struct OwnWay {
  std::string user, address;          // of a web login; empty on the local socket
  std::set<std::uint32_t> processes;  // above the caller's own

  [[nodiscard]] bool isOver(const Connection& connection) const;
};

// The selected connections. All given conditions must hold; at least one is given.
struct Selection {
  std::vector<std::uint32_t> pids;  // one of them; empty: any, as in the following
  std::string user;                 // a user that the connection's process serves
  std::string from;
  std::string type;
  std::string filter;  // that of the list method; not checked here

  bool operator==(const Selection&) const = default;
};

// The selection in the JSON of a request; nothing if it is invalid or selects everything.
std::optional<Selection> selectionOf(const Json::Value& value);
bool isSelected(const Connection& connection, const Selection& selection, const Snapshot& now);

// The selection's pids that no connection in `selected` has.
std::vector<std::uint32_t> missingPids(const std::vector<Connection>& selected,
                                       const Selection& selection);
// The selection's pids that both a process and a web login have, whose numbers are independent.
std::vector<std::uint32_t> ambiguousPids(const std::vector<Connection>& selected,
                                         const Selection& selection);

struct PlanView {
  const Snapshot& now;
  OwnWay own;
  // None: not requested, or not known.
  std::optional<zevo::OpenFiles> openFiles = std::nullopt;
  std::set<std::string> users = {};  // whose connections are to end; effects on them are not listed
  std::string proc = "/proc";
};

// Whether one of `wanted` is served by Samba, so that its tool may be run for open files.
bool endsSmb(const std::vector<Connection>& wanted, const Snapshot& now);

// {"ends": […], "stays": […], "gone": […]}: what would happen to `wanted`. Members of the first are
// rows with "effects", what else ends (same_process with "user", same_ssh_connection with
// "connection", further_web_logins with "count", own_connection), and "open_files" with "total" and
// the first "names"; of the second rows with "reason", if `why` returns one; of the third rows as
// in the request.
Json::Value planOf(const std::vector<Connection>& wanted, const PlanView& view,
                   const char* (*why)(const Connection& connection));

// The rows that `named` are in the list `rows`, in their order; null for each that is gone. One
// that was listed under another of its processes is found by their relationship.
std::vector<const Connection*> rowsOf(const std::vector<Connection>& named,
                                      const std::vector<Connection>& rows,
                                      const std::string& proc = "/proc");

// The rows of a list, by the members that identify them.
class RowIndex {
 public:
  // For `rows`, which must outlive this.
  explicit RowIndex(const std::vector<Connection>& rows);
  // Null if there is none.
  [[nodiscard]] const Connection* find(const Connection& named) const;

 private:
  using Key = std::tuple<std::string_view, std::string_view, std::string_view, std::uint32_t>;
  static Key keyOf(const Connection& row);

  std::map<Key, const Connection*> rows_;
};

}  // namespace calls::enforce
