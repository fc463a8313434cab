// What a kick would do.
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

// {"reason": key}; whoever answers with it may add values.
Json::Value reason(const char* key);

// Why nothing here ends a connection; null where something does: no_process, console,
// unknown_service, unknown_process.
const char* whyOutOfReach(const Connection& connection);
// Why a connection cannot be ended by itself; besides those: unknown_user, unknown_address.
const char* whyNotEnded(const Connection& connection);

// Over what the caller works.
struct OwnWay {
  std::string user, address;          // of a web login; empty over the local socket
  std::set<std::uint32_t> processes;  // above the caller's own

  [[nodiscard]] bool isOver(const Connection& connection) const;
};

// Which connections are meant. All that is given must hold; something is.
struct Selection {
  std::vector<std::uint32_t> pids;  // one of them; empty: any, as in the following
  std::string user;                 // whom the connection's process serves
  std::string from;
  std::string type;
  std::string filter;  // the list method's own; not checked here

  bool operator==(const Selection&) const = default;
};

// The selection in the JSON of a request; nothing where it makes no sense or selects everything.
std::optional<Selection> selectionOf(const Json::Value& value);
bool isSelected(const Connection& connection, const Selection& selection, const Snapshot& now);

// Those of the selection's pids that none of `selected` has.
std::vector<std::uint32_t> missingPids(const std::vector<Connection>& selected,
                                       const Selection& selection);
// Those that a process and a web login have, whose numbers are counted apart, although one number
// was given for one connection.
std::vector<std::uint32_t> ambiguousPids(const std::vector<Connection>& selected,
                                         const Selection& selection);

struct PlanView {
  const Snapshot& now;
  OwnWay own;
  // None: not asked for, or not known.
  std::optional<zevo::OpenFiles> openFiles = std::nullopt;
  std::set<std::string> users = {};  // who are meant to end; no effects on them are told
  std::string proc = "/proc";
};

// Whether one of `wanted` is served by Samba, whose tool may then be asked for open files.
bool endsSmb(const std::vector<Connection>& wanted, const Snapshot& now);

// {"ends": […], "stays": […], "gone": […]}: what would become of `wanted`. Members of the first are
// rows with "effects", what ends besides (same_process with "user", same_ssh_connection with
// "connection", further_web_logins with "count", own_connection), and "open_files" with "total" and
// the first "names"; of the second rows with "reason", where `why` gives one; of the third rows as
// they were given.
Json::Value planOf(const std::vector<Connection>& wanted, const PlanView& view,
                   const char* (*why)(const Connection& connection));

// The rows of a list, by what clients name them by.
class RowIndex {
 public:
  // Of `rows`, which must outlive this.
  explicit RowIndex(const std::vector<Connection>& rows);
  // Null where there is none.
  [[nodiscard]] const Connection* find(const Connection& named) const;

 private:
  using Key = std::tuple<std::string_view, std::string_view, std::string_view, std::uint32_t>;
  static Key keyOf(const Connection& row);

  std::map<Key, const Connection*> rows_;
};

}  // namespace calls::enforce
