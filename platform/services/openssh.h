// SSH and SFTP sessions of OpenSSH.
#pragma once

#include <optional>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// What stands behind the program's name in a title of sshd, "alice@pts/3" in "sshd: alice@pts/3";
// nothing where it is no such title (the program's arguments, before it has set one). From release
// 9.8 on the programs of a session have names of their own: "sshd-session: alice@pts/3".
std::optional<std::string_view> sshTitleText(std::string_view title);

// Whether root's process with this text guards a login or a session ("alice [priv]"). The name is
// as the client typed it: a directory may take several for one account.
bool isSshGuard(std::string_view text);

// What the title of a session's process tells.
struct SshSession {
  std::string_view user;  // the account's own name
  // "pts/1,pts/5", "notty", "internal-sftp", or "" for a session that only forwards ports.
  std::string_view use;
};

// Nothing where the text is that of a listener or of a login in progress. What is behind the last
// "@" and no use belongs to the name.
std::optional<SshSession> sshSession(std::string_view text);

// Every connection that has logged in, with the pid of its session's process: one record for each
// terminal, or one that says "SFTP" where nothing else runs in it, or "no terminal". An internal
// SFTP server is a record besides, since it can be ended alone. One that is a program of its own
// cannot, so it is one more record of the session, "SFTP (sftp-server)". All of it comes from
// root's processes and what they forked: what a user starts below a session may carry any name and
// title.
//
// A session whose guarding process was killed goes on. Over TCP it is still one record, of the
// account of its process, "terminal not known"; an internal SFTP server in it is none.
Result<void> readOpenssh(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
