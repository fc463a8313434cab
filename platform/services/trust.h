// Which processes really belong to a service. Any local user can start a program under a service's
// name and give it any title; what a user cannot do is to have it started by the service.
#pragma once

#include <string_view>

#include "services/sources.h"

namespace zevo::connections {

// Whether a process of this name belongs to the service.
using Family = bool (*)(std::string_view name);

// Whether the process was started by root: root is among its real, effective and saved users, and
// its program is not one that gives root's rights to whoever starts it (such a program runs under
// any name and title that its caller chooses).
Result<bool> isRootOwned(const ProcessFiles& files);

// The title of `process`; empty where it must not be read, since a user may lay out the memory of
// his own processes so that its reader waits for ever. It is read of what root started, and of what
// one of root's processes forked and has run no other program since: no user lays out the memory of
// such a process. A service that a super-server started under another account has none.
Result<Title> readTitle(const Sources& sources, const Process& process);

// The server to which `process` belongs: the nearest process from it upwards that root started, as
// isRootOwned() has it, or the uppermost above that under the same name, since some servers
// (vsftpd) give each session namespaces of its own. Null where there is none. Those that have ended
// meanwhile are passed over.
Result<const Process*> serverOf(const Sources& sources, const Process& process);

// Whether the service vouches for `process`: going up from it through processes of `family` leads
// to one that root started, or to a super-server (inetd, xinetd) that root started. The way ends
// where the family ends, so an orphan handed to init counts no longer.
//
// A service whose users run programs of their own below its processes (OpenSSH) needs more: those
// programs pass this test too.
Result<bool> isVouchedFor(const Sources& sources, const Process& process, Family family);

// Whether `process` may be an orphan of the service: it runs a program of root's under one of the
// service's names, and its parent, if any, is one of root's, as are all that inherit the children
// of a server. A user can start such a process, too, so believe it no more than its connection
// proves: one that root accepted was given to it by root's server. What it says of itself stays
// unproven even then: whom root hands a connection to may have started that program anew.
Result<bool> isOrphan(const Sources& sources, const Process& process, Family family);

// Whether `process` or one above it, through processes of `family`, may be an orphan.
Result<bool> isBelowOrphan(const Sources& sources, const Process& process, Family family);

}  // namespace zevo::connections
