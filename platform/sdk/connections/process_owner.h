// To which of this machine's accounts a process belongs.
#pragma once

#include <sys/types.h>

#include "sdk/connections/sources.h"

namespace zevo::connections {

// The number of the account: who made the outermost user namespace around the process that is not
// ours, since whatever number it has there is one of those that its maker may give away; the real
// user where that was root, as with a container, where there is none, and where the namespace may
// not be read. The number is this machine's only where runsHere() says so.
Reading<uid_t> ownerOf(const ProcessFiles& process, const Home& home);

// Whether the process runs beside this machine's services: in their process namespace, or in one
// that a user other than root made there. Any other is a container's.
Reading<bool> runsHere(const ProcessFiles& process, const Home& home);

}  // namespace zevo::connections
