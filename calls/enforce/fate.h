// What became of connections that were to end.
#pragma once

#include <set>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "calls/enforce/snapshot.h"

namespace calls::enforce {

struct Target {
  Connection connection;  // as it was listed before
  // Why its call failed: {"reason": …}; null where it did not.
  Json::Value hindrance = {};
};

// One attempt to end connections, of which all but the list afterwards is known.
struct Attempt {
  std::vector<Target> targets;
  std::set<std::string> users = {};           // none of whose connections is to be left
  std::vector<Connection> before;             // what was listed before
  std::string begin;                          // of the calls, as beginOfAttempt gives it
  std::vector<zevo::ReadNote> warnings = {};  // of the calls' own reads of the list
  std::string proc = "/proc";
};

// The present time in the form of a row's. Rows that begin from now on have none before it: the
// start of a process is told up to two seconds too early.
std::string beginOfAttempt();

// What the list `now`, which was read after `attempt`, tells of each target in its order, and then
// of further connections of its users. A process is known by its pid and service, since the users
// whom it serves may change; whatever has no process, by user, address and service.
//
// Rows with "fate", one of
//   ended
//   still_there      with "reason": those of whyOutOfReach; the hindrance; may_be_unlisted with
//                    "warning", where its call may not have found it; still_recorded; in_kernel,
//                    where its process waits and ends once that is over; not_in_time; goes_on,
//                    under "now"; serves_other, which is "now"; under_other_user with "user", one
//                    of the attempt's whom the row serves under another's name
//   connected_again  it ended, and its user came back: as "now"
//   connected_since  a further connection of a user
//   not_known        the list may lack it
// Of a list that could not be read all of them are not known, with "reason": list_failed with
// "causes".
Json::Value fatesOf(const Attempt& attempt, const zevo::Result<Snapshot>& now);

// Whether one of `fates` may be another one soon.
bool mayStillGo(const Json::Value& fates);

// The services of which `now` has connections but cannot tell the users.
std::vector<std::string> servicesWithoutUsers(const Snapshot& now);

}  // namespace calls::enforce
