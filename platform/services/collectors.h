// The servers that the registry reads, in this order. Those that ask a tool of the server's own
// besides, Pure-FTPd and Samba, come after them.
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

// One record for each afpd with a client on the AFP port that has logged in. Such a process takes
// the user's effective ids, and root's for moments of its work; the user of a session that is met
// in one of these is "unknown". A login of root looks like one in progress and is left out. Nothing
// tells the volumes in use.
Result<void> readAfp(const Sources& sources, std::vector<Connection>& connections);

// One record for each login that utmp has, or logind where there is no utmp, with the pid of a
// process of its user, as LoginProcesses finds it. Terminals that a network service opened are that
// service's connections and left out here, and so are entries whose process has ended and those of
// which no process is left.
Result<void> readLogins(const Sources& sources, std::vector<Connection>& connections);

struct ServerCollector {
  const char* name;        // of the program or source
  ZEVO_CURCONN_TYPE type;  // as notes name it
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
