// Determines to which of this machine's accounts a process belongs.
#pragma once

#include <sys/types.h>

#include "services/sources.h"

namespace zevo::connections {

// The user id of the account: the creator of the outermost user namespace around the process that
// is not ours, since any id in it is one that its creator was assigned. In a namespace that root
// created, as for a container, it is the real user, and also if there is none or it may not be
// read. If that id is assigned to an account (subuid), that account is the owner: a program can
// keep the id outside the namespace (set-user-ID), and create another namespace there. The id is
// this machine's only if runsHere().
Result<uid_t> ownerOf(const ProcessFiles& process, const Home& home);

// Whose the process's doings are: its owner; in a user namespace that root created, its root, since
// any of the ids there can be one tenant's.
Result<uid_t> tenantOf(const Paths& paths, const ProcessFiles& process, const Home& home);

// Whether the process runs beside this machine's services: in their process namespace, or in one
// that a user other than root created there. Any other process belongs to a container.
Result<bool> runsHere(const ProcessFiles& process, const Home& home);

// Whether the process belongs to root of a container: an id without rights on this machine, to
// which 0 is mapped in a user namespace that this machine's root created, and which is no account's
// here. False of a program that runs with the rights of its file's owner.
Result<bool> isContainersRoot(const Paths& paths, const ProcessFiles& process, const Home& home);

}  // namespace zevo::connections
