// Logins at the machine itself: its consoles, its desktop, terminals that registered themselves.
#pragma once

#include "services/sources.h"

namespace zevo::connections {

// One record for each login that utmp has, or logind where there is no utmp, with the pid of a
// process of its user, as LoginProcesses finds it. Terminals that a network service opened are that
// service's connections and left out here, and so are entries whose process has ended and those of
// which no process is left.
Outcome readLogins(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
