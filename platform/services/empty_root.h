// Processes confined to an empty directory.
#pragma once

#include <cstdint>
#include <string_view>
#include <sys/types.h>

#include "services/sources.h"

namespace zevo::connections {

// Whether the mount `id` in `mounts`, the lines of ProcessFiles::mounts(), is a file system in the
// kernel. One in user space may belong to a user, and accessing it may never return.
bool isKernelsMount(std::string_view mounts, std::uint64_t id);

// Whether the root of `process` is an empty directory that does not belong to `uid`. False if it
// must not be accessed, or is not among the mounts of the processes from `process` upwards or of
// the first process.
bool hasEmptyRoot(const Sources& sources, const Process& process, uid_t uid);

}  // namespace zevo::connections
