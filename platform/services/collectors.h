// The servers that the registry reads, in this order, followed by those with a tool of their own,
// Pure-FTPd and Samba.
#pragma once

#include <array>
#include <vector>

#include "zevo/connections.h"

#include "services/connection.h"
#include "services/gone.h"
#include "services/nfs.h"
#include "services/openssh.h"
#include "services/proftpd.h"
#include "services/sources.h"
#include "services/telnet.h"
#include "services/vsftpd.h"

namespace zevo::connections {

// One record for each afpd with a client on the AFP port that has logged in. Such a process has the
// user's effective ids, and briefly root's; the user of a session that is read at such a moment is
// "unknown". A login of root looks like one in progress and is left out. The volumes in use are not
// known.
Result<void> readAfp(const Sources& sources, std::vector<Connection>& connections);

// One record per login in utmp, and per login that only logind knows of, with the pid of a process
// of its user, found by LoginProcesses. Terminals opened by a network service belong to that
// service's connections and are left out, and so are entries whose processes have ended.
Result<void> readLogins(const Sources& sources, std::vector<Connection>& connections);

struct ServerCollector {
  const char* name;        // of the program or source
  ZEVO_CURCONN_TYPE type;  // its name in notes
  Collector read;
};

inline constexpr std::array<ServerCollector, 7> kCollectors = {{
    {"OpenSSH", ZEVO_CURCONN_SSH, readOpenssh},
    {"vsftpd", ZEVO_CURCONN_FTP, readVsftpd},
    {"ProFTPD", ZEVO_CURCONN_FTP, readProftpd},
    {"telnetd", ZEVO_CURCONN_TELNET, readTelnet},
    {"afpd", ZEVO_CURCONN_AFP, readAfp},
    {"NFS", ZEVO_CURCONN_NFS, readNfs},
    {"console logins", ZEVO_CURCONN_LOGIN, readLogins},
}};

}  // namespace zevo::connections
