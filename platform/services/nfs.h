// NFS clients of any server on this system.
#pragma once

#include "services/sources.h"

namespace zevo::connections {

// One record for each client address and what it uses: the version of the protocol where the
// kernel's server tells it ("NFSv4.2"), the export of a version 3 client that still holds a
// connection
// ("/srv/media (NFSv3)"), and "NFS" for a connection to the NFS port of which nothing more is
// known, which is all that a server in user space shows. Such a server counts only where it is
// root's, since any user can listen on that port while nobody else does. Nothing tells users or
// processes; only the kernel's version 4 clients have a time.
Result<void> readNfs(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
