#include "services/process_table.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <utility>

#include "base/file_failure.h"
#include "base/numbers.h"
#include "base/open_folder.h"

namespace zevo::connections {
namespace {

// The pid of the entry of /proc, or 0.
pid_t pidOf(const char* entry) {
  return std::max(parseNumber<pid_t>(entry).value_or(0), 0);
}

}  // namespace

ProcessTable::ProcessTable(std::vector<Process> processes, Result<void> unread)
    : unread_(std::move(unread)), processes_(std::move(processes)) {
  std::erase_if(processes_, [](const Process& p) { return p.isKernelThread || p.hasEnded; });
  const auto byPid = [](const Process& a, const Process& b) { return a.pid < b.pid; };
  // /proc is in order of pids, so this is nearly always only a check.
  if (!std::is_sorted(processes_.begin(), processes_.end(), byPid)) {
    std::sort(processes_.begin(), processes_.end(), byPid);
  }
  byParent_.reserve(processes_.size());
  for (const Process& process : processes_) byParent_.push_back(&process);
  std::stable_sort(byParent_.begin(), byParent_.end(),
                   [](const Process* a, const Process* b) { return a->parent < b->parent; });
}

Result<ProcessTable> ProcessTable::scan(const Paths& paths) {
  const OpenFolder folder(::opendir(paths.proc.c_str()));
  const auto cannotRead = [&](int error) {
    return failure("cannot read " + paths.proc + ": " + errorText(error));
  };
  if (!folder) return cannotRead(errno);
  std::vector<Process> processes;
  processes.reserve(512);
  Result<void> unread;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(folder.get());
    if (entry == nullptr) break;
    const pid_t pid = pidOf(entry->d_name);
    if (pid == 0) continue;
    Result<Process> process = readProcess(::dirfd(folder.get()), pid);
    addPart(unread, process);
    if (process) processes.push_back(std::move(*process));
  }
  if (errno != 0) return cannotRead(errno);
  if (processes.empty() && !unread) return errorOf(unread);
  return ProcessTable(std::move(processes), std::move(unread));
}

const Process* ProcessTable::find(pid_t pid) const {
  const auto found = std::lower_bound(processes_.begin(), processes_.end(), pid,
                                      [](const Process& p, pid_t key) { return p.pid < key; });
  return found != processes_.end() && found->pid == pid ? &*found : nullptr;
}

std::vector<const Process*> ProcessTable::children(pid_t pid) const {
  const auto first = std::lower_bound(byParent_.begin(), byParent_.end(), pid,
                                      [](const Process* p, pid_t key) { return p->parent < key; });
  const auto last =
      std::find_if(first, byParent_.end(), [pid](const Process* p) { return p->parent != pid; });
  return {first, last};
}

}  // namespace zevo::connections
