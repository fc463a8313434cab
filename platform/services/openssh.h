// SSH and SFTP sessions of OpenSSH.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// The text after the program's name in a title of sshd, "alice@pts/3" in "sshd: alice@pts/3", with
// its escapes decoded; nothing if it is not such a title (but the program's arguments, before it
// has set one). Since release 9.8 the programs of a session have separate names:
// "sshd-session: alice@pts/3".
std::optional<std::string> sshTitleText(std::string_view title);

// Whether root's process with this text guards a login or a session ("alice [priv]"). The name is
// the one sent by the client: a directory service may accept several for one account.
bool isSshGuard(std::string_view text);

// The account whose login or session `process` guards according to its title; empty if it has no
// such title that can be trusted.
Result<std::string> guardedAccount(const Sources& sources, const Process& process);

// The contents of the title of a session's process.
struct SshSession {
  std::string_view user;  // the account's own name
  // "pts/1,pts/5", "notty", "internal-sftp", or "" for a session that only forwards ports.
  std::string_view use;
};

// Nothing if the text belongs to a listener or a login in progress. If the text after the last "@"
// is not a use, it belongs to the name.
std::optional<SshSession> sshSession(std::string_view text);

// Every connection that has logged in, with the pid of its session's process: one record per
// terminal, or one with "SFTP" if nothing else runs in it, or "no terminal". An internal SFTP
// server has its own record, since it can be ended alone. An SFTP server that is a separate program
// cannot, so it is another record of the session, "SFTP (sftp-server)". All data comes from root's
// processes and their forks: programs that a user starts in a session may have any name and title.
//
// Before its session has a process, a connection is "logging in", with the pid of the process that
// opens the session. The address of a client that did not connect over TCP is "unknown".
//
// A session whose guarding process was killed continues. Over TCP it still has one record, of the
// account of its process, "terminal not known", but none for an internal SFTP server in it.
Result<void> readOpenssh(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
