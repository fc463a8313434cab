// The results of an attempt to end connections.
#pragma once

#include <set>
#include <string>
#include <vector>

#include <json/value.h>

#include "zevo/read_notes.h"

#include "calls/enforce/snapshot.h"

namespace calls::enforce {

struct Target {
  Connection connection;  // as listed before
  // Why its call failed: {"reason": …}; null if it did not.
  Json::Value hindrance = {};
};

// One attempt to end connections, before the list is read again.
struct Attempt {
  std::vector<Target> targets;
  std::set<std::string> users = {};           // none of whose connections may remain
  std::vector<Connection> before;             // what was listed before
  std::string begin;                          // of the calls, from beginOfAttempt
  std::vector<zevo::ReadNote> warnings = {};  // of the calls' own reads of the list
  std::string proc = "/proc";
};

// The present time in the format of rows. Rows that begin from now on are not before it: the start
// of a process may be reported up to two seconds too early.
std::string beginOfAttempt();

// What the list `now`, read after `attempt`, shows for each target in order, and then for further
// connections of its users. A process is identified by its pid and service, since the users whom it
// serves may change; anything without a process by user, address and service.
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

// The services with connections in `now` whose users are unknown.
std::vector<std::string> servicesWithoutUsers(const Snapshot& now);

}  // namespace calls::enforce
