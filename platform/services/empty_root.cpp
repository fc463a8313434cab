#include "services/empty_root.h"

#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>

#include "base/file_descriptor.h"
#include "base/text.h"

namespace zevo::connections {
namespace {

constexpr int kMostAbove = 8;  // a session has at most four processes

bool listsAsKernels(const Result<ProcessFiles>& files, std::uint64_t mount) {
  const auto mounts = files.and_then(&ProcessFiles::mounts);
  return mounts && isKernelsMount(*mounts, mount);
}

// Whether one of the processes from `process` upwards has it among its mounts. A confined process
// shows only those below its root; the server above it shows all of the common namespace.
bool isKernelsMountOf(const Sources& sources, const Process& process, std::uint64_t mount) {
  const Process* step = &process;
  for (int i = 0; i < kMostAbove && step != nullptr; ++i) {
    if (listsAsKernels(sources.filesOf(*step), mount)) return true;
    step = sources.processes().find(step->parent);
  }
  return false;
}

// The type in "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw", of which what
// follows the sixth word may be missing.
std::string_view typeIn(std::string_view line) {
  constexpr int kBeforeOptional = 6;
  for (int i = 0; i < kBeforeOptional; ++i) takeUntil(' ', line);
  while (!line.empty() && takeUntil(' ', line) != "-") {
  }
  return takeUntil(' ', line);
}

}  // namespace

bool isKernelsMount(std::string_view mounts, std::uint64_t id) {
  const std::string begin = std::to_string(id) + " ";
  for (const std::string_view line : linesOf(mounts)) {
    if (!line.starts_with(begin)) continue;
    const std::string_view type = typeIn(line);
    return !type.empty() && !type.starts_with("fuse");
  }
  return false;
}

bool hasEmptyRoot(const Sources& sources, const Process& process, uid_t uid) {
  const std::string path = sources.paths().proc + "/" + std::to_string(process.pid) + "/root";
  // Neither of these two accesses the file system.
  const FileDescriptor root = openFile(path.c_str(), O_PATH | O_DIRECTORY);
  struct statx status {};
  constexpr int kHow = AT_EMPTY_PATH | AT_STATX_DONT_SYNC;
  if (!root || ::statx(root.get(), "", kHow, STATX_UID | STATX_MNT_ID, &status) != 0) return false;
  if (status.stx_uid == uid || (status.stx_mask & STATX_MNT_ID) == 0) return false;
  const bool isKernels = isKernelsMountOf(sources, process, status.stx_mnt_id) ||
                         listsAsKernels(ProcessFiles::open(sources.paths(), 1), status.stx_mnt_id);
  std::error_code error;
  return isKernels &&
         std::filesystem::is_empty("/proc/self/fd/" + std::to_string(root.get()), error) && !error;
}

}  // namespace zevo::connections
