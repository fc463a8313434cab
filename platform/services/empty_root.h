// Processes that are confined to an empty folder.
#pragma once

#include <cstdint>
#include <string_view>
#include <sys/types.h>

#include "services/sources.h"

namespace zevo::connections {

// Whether the mount `id` in `mounts`, the lines of ProcessFiles::mounts(), is a file system that
// the kernel serves itself. One in user space may be a user's, and keep whoever looks into it
// waiting for ever.
bool isKernelsMount(std::string_view mounts, std::uint64_t id);

// Whether the tree of `process` is one empty folder that belongs to somebody else than `uid`. What
// must not be looked at, or cannot be found among the mounts that the processes from `process`
// upwards or the first process see, is no such folder.
bool hasEmptyRoot(const Sources& sources, const Process& process, uid_t uid);

}  // namespace zevo::connections
