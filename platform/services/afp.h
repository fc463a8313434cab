// AFP sessions of netatalk's afpd.
#pragma once

#include "services/sources.h"

namespace zevo::connections {

// One record for each afpd with a client on the AFP port that has logged in. Such a process takes
// the user's effective ids, and root's for moments of its work; the user of a session that is met
// in one of these is "unknown". A login of root looks like one in progress and is left out. Nothing
// tells the volumes in use.
Outcome readAfp(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
