// SMB sessions of Samba.
#pragma once

#include <optional>
#include <utility>

#include "base/tool_run.h"
#include "services/sources.h"

namespace zevo::connections {

// A process of an SMB server: "smbd", "smbd[10.0.0.9]" of newer releases, "smbd-notifyd".
bool isSmbd(std::string_view name);

// A run of Samba's own tool. Two parallel runs, since one with both options prints only the
// sessions, and one without either also reads all open files and locks.
class SmbstatusRuns {
 public:
  SmbstatusRuns(const Paths& paths, const ToolLimits& limits);

  void drain();
  // The output: sessions, shares.
  std::pair<ToolResult, ToolResult> finish();

 private:
  ToolRun sessions_;
  ToolRun shares_;
};

// Starts the tool if a process may serve a session: otherwise it has nothing to report, and if smbd
// never ran it would create databases. The other services are read in parallel.
Result<std::optional<SmbstatusRuns>> startSmbstatus(const Sources& sources,
                                                    const ToolLimits& limits);

// Appends the records of samba_records.h, and those of samba_processes.h for sessions that the tool
// does not know. If the tool fails, one line is logged, and processes and sockets are used instead.
Result<void> readSamba(const Sources& sources, Result<std::optional<SmbstatusRuns>> runs,
                       std::vector<Connection>& connections);

}  // namespace zevo::connections
