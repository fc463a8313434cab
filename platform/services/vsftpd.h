// FTP sessions of vsftpd.
#pragma once

#include <string>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// What the title of a process says where setproctitle_enable is on.
struct VsftpdTitle {
  bool isTitle = false;     // false: the arguments that the server was started with
  bool isLoggedIn = false;  // the process works for a user who has logged in
  std::string user;         // his name as he gave it; empty where the title does not hold all of it
};

// "vsftpd: ::ffff:10.0.0.9/alice: STOR a: b" is alice's; "vsftpd: 10.0.0.9: connected" and
// "vsftpd: 10.0.0.9: not logged in" are nobody's.
VsftpdTitle parseVsftpdTitle(std::string_view title);

// One record for each session, though two processes serve it, and three over TLS. The pid is that
// of the uppermost, since the user's own puts SIGTERM off until his next command; while the session
// holds a data connection it is that of the process which moves the data, since that one goes on
// without the uppermost. It puts SIGTERM off too: only SIGKILL ends a transfer. The user is the
// title's, else the account of the user's process; the description is that process's current folder
// as it is found from outside, also where the user is confined to a part of the tree. Without
// titles the name of a virtual user is known to vsftpd alone: the user is then the account that
// serves all of them, and the description says so, "/srv/shared (virtual user)".
//
// With one_process_model and without titles nothing tells a login in progress from a session; both
// are then shown.
Result<void> readVsftpd(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
