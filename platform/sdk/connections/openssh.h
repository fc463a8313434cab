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

// One record for each terminal, one for a session without any, and one for each SFTP server below
// it. An SFTP server that is a program of its own cannot be ended as SFTP, so it counts as SSH and
// its description says what it is. The users of records come from root's processes only, since what
// a user starts below a session may carry any name and title.
Outcome readOpenssh(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
