// SMB sessions as processes and sockets show them, for when Samba's own tool does not answer.
#pragma once

#include <vector>

#include "sdk/connections/sources.h"

namespace zevo::connections {

// Whether one of root's own processes is smbd.
Reading<bool> isSmbdRunning(const Sources& sources);

// One record for each process of a client, with a user and a share that say that they are not
// known. A client that has connected and not logged in yet is among them: nothing tells it apart.
Outcome appendSmbProcesses(const Sources& sources, std::vector<Connection>* connections);

}  // namespace zevo::connections
