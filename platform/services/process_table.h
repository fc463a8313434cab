// All processes of the system at one moment.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "services/gone.h"
#include "services/paths.h"
#include "services/process.h"

namespace zevo::connections {

// Immutable after the scan. Without kernel threads and zombies. Its pointers are valid as long as
// the table.
class ProcessTable {
 public:
  ProcessTable() = default;
  explicit ProcessTable(std::vector<Process> processes, Result<void> unread = {});
  ProcessTable(ProcessTable&&) = default;
  ProcessTable& operator=(ProcessTable&&) = default;
  ProcessTable(const ProcessTable&) = delete;
  ProcessTable& operator=(const ProcessTable&) = delete;

  // Reads the line of each process once; a process that ends in the meantime is left out. One that
  // cannot be read is left out, which unread() reports. Fails if no process can be read.
  static Result<ProcessTable> scan(const Paths& paths);

  // Failed, with the first cause, if the scan left out an unreadable process.
  [[nodiscard]] const Result<void>& unread() const { return unread_; }
  // Null if there is none.
  [[nodiscard]] const Process* find(pid_t pid) const;
  // In order of pids.
  [[nodiscard]] std::vector<const Process*> children(pid_t pid) const;
  [[nodiscard]] std::span<const Process> all() const { return processes_; }
  // The processes whose name satisfies `matches`, in order of pids.
  template <typename Matches>
  [[nodiscard]] std::vector<const Process*> named(Matches matches) const {
    std::vector<const Process*> found;
    for (const Process& process : processes_) {
      if (matches(std::string_view(process.name))) found.push_back(&process);
    }
    return found;
  }

 private:
  Result<void> unread_;
  std::vector<Process> processes_;        // by pid
  std::vector<const Process*> byParent_;  // by parent, then pid
};

}  // namespace zevo::connections
