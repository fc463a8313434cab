// To which of this machine's accounts a process belongs.
#pragma once

#include <sys/types.h>

#include "services/sources.h"

namespace zevo::connections {

// The number of the account: who made the outermost user namespace around the process that is not
// ours, since whatever number it has there is one of those that its maker may give away. In one
// that root made, as for a container, it is the real user. So it is where there is none or it may
// not be read. Of the maker or that user an account that may give its number away is the owner: a
// program can keep it outside the namespace (set-user-ID), and make another one there. The number
// is this machine's only where runsHere() says so.
Result<uid_t> ownerOf(const ProcessFiles& process, const Home& home);

// Whether the process runs beside this machine's services: in their process namespace, or in one
// that a user other than root made there. Any other is a container's.
Result<bool> runsHere(const ProcessFiles& process, const Home& home);

}  // namespace zevo::connections
