// FTP sessions of vsftpd.
#pragma once

#include <string>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// The contents of the title of a process if setproctitle_enable is on.
struct VsftpdTitle {
  bool isTitle = false;     // false: the arguments that the server was started with
  bool isLoggedIn = false;  // the process serves a user who has logged in
  std::string user;         // the name sent by the client; empty if truncated in the title
};

// "vsftpd: ::ffff:10.0.0.9/alice: STOR a: b" is alice's; "vsftpd: 10.0.0.9: connected" and
// "vsftpd: 10.0.0.9: not logged in" are nobody's.
VsftpdTitle parseVsftpdTitle(std::string_view title);

// One record per session, although two processes serve it, or three with TLS. The pid is that of
// the uppermost, since the user's process defers SIGTERM until the next command; while the session
// has a data connection it is that of the process that transfers the data, since that continues
// without the uppermost. It defers SIGTERM too: only SIGKILL ends a transfer. The user is the one
// in the title, otherwise the account of the user's process; the description is that process's
// working directory as seen from outside, even if the user is confined to a part of the tree.
// Without titles only vsftpd knows the name of a virtual user: the user is then the account that
// serves all of them, and the description says so, "/srv/shared (virtual user)".
//
// With one_process_model and without titles a login in progress looks like a session; both are then
// shown.
Result<void> readVsftpd(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
