// Determines which processes really belong to a service. Any local user can start a program with a
// service's name and any title, but cannot have the service start it.
#pragma once

#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// Whether a process of this name belongs to the service.
using Family = bool (*)(std::string_view name);

// Whether the process was started by root: root is among its real, effective and saved users, and
// its program is not set-user-ID root (such a program runs with any name and title that its caller
// chooses).
Result<bool> isRootOwned(const ProcessFiles& files);

// The title of `process`; empty if it must not be read, since users can arrange the memory of their
// own processes so that a reader blocks. It is read only of processes that root started, and of
// forks of root's processes that have executed no other program since; where a user can pretend
// that, by a process that can be ended (user_titles.h). A service that a super-server started under
// another account has none.
Result<Title> readTitle(const Sources& sources, const Process& process);

// Reads the titles of that kind at once for all processes of `family`, of which there may be
// hundreds.
Result<void> readTitlesAhead(const Sources& sources, Family family);

// The server to which `process` belongs: the nearest process from it upwards that root started, by
// isRootOwned(), or the uppermost above that with the same name, since some servers (vsftpd) give
// each session its own namespaces. Null if there is none. Processes that have ended in the meantime
// are skipped.
Result<const Process*> serverOf(const Sources& sources, const Process& process);

// Whether the service vouches for `process`: its ancestors in `family` lead to one that root
// started, or to a super-server (inetd, xinetd) that root started. An orphan adopted by init no
// longer counts.
//
// A service whose users run programs below its processes (OpenSSH) needs more checks, since those
// programs also pass this one.
Result<bool> isVouchedFor(const Sources& sources, const Process& process, Family family);

// Whether `process` may be an orphan of the service: it runs a program of root with one of the
// service's names, and its parent, if any, belongs to root, as do all that adopt the children of a
// server. A user can start such a process too, so only its connection proves anything: one that
// root accepted came from root's server. Its own data remain untrusted even then: a process that
// receives a connection from root may have executed that program.
Result<bool> isOrphan(const Sources& sources, const Process& process, Family family);

// Whether `process` or one above it, through processes of `family`, may be an orphan.
Result<bool> isBelowOrphan(const Sources& sources, const Process& process, Family family);

}  // namespace zevo::connections
