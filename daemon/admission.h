// Which calls are served when many come at once.
#pragma once

#include <cstddef>
#include <sys/types.h>
#include <vector>

#include "base/subordinate_ids.h"
#include "calls/identity.h"

namespace currentconnd {

// Calls in flight, or waiting.
struct Load {
  std::size_t web = 0;
  std::size_t local = 0;     // of local users other than root
  std::size_t root = 0;      // of root over the local socket
  std::size_t samePeer = 0;  // of `local`: those of the asking user

  // Adds a call of user `peer` through `socketKind`; `asking` is the user who asks. Both as
  // countedAs().
  void add(calls::SocketKind socketKind, uid_t peer, uid_t asking);
};

// Places reserved for the local socket, so that the command line works while the page is
// overloaded; and those among them reserved for root.
inline constexpr std::size_t kKeptForLocal = 12;
inline constexpr std::size_t kKeptForRoot = 4;
// One local user cannot keep the others out.
inline constexpr std::size_t kMostOfOnePeer = 8;

// The user as whom a caller with the id `peer` is counted: the same for all ids of a range that is
// assigned to a user, who could otherwise call as 65536. Asks no name service, which could block
// the daemon, so accounts of a directory with ids in such a range are counted as one, too.
uid_t countedAs(uid_t peer, const std::vector<zevo::SubordinateRange>& ranges);

// Whether a call of user `peer` through `socketKind` may begin while `load` is in flight and `most`
// are served at once. All local users together leave half of the places to the web.
bool isAdmitted(calls::SocketKind socketKind, uid_t peer, const Load& load, std::size_t most);

}  // namespace currentconnd
