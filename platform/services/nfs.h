// NFS clients of any server on this system.
#pragma once

#include "services/sources.h"

namespace zevo::connections {

// One record per client address and use: the protocol version from the kernel's server ("NFSv4.2"),
// the export of a version 3 client that still has a connection ("/srv/media (NFSv3)"), and "NFS"
// for other connections to the NFS port, which is all that a server in user space shows. Such a
// server counts only if it belongs to root, since any user can listen on that port while it is
// free. Users and processes are not known; only the kernel's version 4 clients have a time.
Result<void> readNfs(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
