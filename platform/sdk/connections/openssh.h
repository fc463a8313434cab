// SSH and SFTP sessions of OpenSSH.
#pragma once

#include <optional>
#include <string_view>

#include "sdk/connections/sources.h"

namespace zevo::connections {

// What stands behind the program's name in a title of sshd, "alice@pts/3" in "sshd: alice@pts/3";
// nothing where it is no such title (the program's arguments, before it has set one). From release
// 9.8 on the programs of a session have names of their own: "sshd-session: alice@pts/3".
std::optional<std::string_view> sshTitleText(std::string_view title);

// The user whose login the root process with this text guards ("alice [priv]"); nothing for any
// other. The login may still be going on.
std::optional<std::string_view> monitoredUser(std::string_view text);

// What the session of `user` with this text is for: "pts/1,pts/5", "notty", "internal-sftp", or ""
// for one that only forwards ports. Nothing where it is no session of that user, or not yet.
std::optional<std::string_view> sessionUse(std::string_view text, std::string_view user);

// The user of a session that has no guarding process, which are those of root.
std::optional<std::string_view> unguardedUser(std::string_view text);

// Every connection that has logged in, with the pid of its session's process: one record for each
// terminal, or one that says "SFTP" where nothing else runs in it, or "no terminal". An internal
// SFTP server is a record besides, since it can be ended alone. One that is a program of its own
// cannot, so it is one more record of the session, "SFTP (sftp-server)". All of it comes from
// root's processes and what they forked: what a user starts below a session may carry any name and
// title.
Outcome readOpenssh(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
