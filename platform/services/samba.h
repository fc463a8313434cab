// SMB sessions of Samba.
#pragma once

#include <optional>
#include <utility>

#include "base/tool_run.h"
#include "services/sources.h"

namespace zevo::connections {

// A process that serves SMB or helps to: "smbd", "smbd[10.0.0.9]" of newer releases,
// "smbd-notifyd".
bool isSmbd(std::string_view name);

// Samba's own tool at work. Two runs side by side, since one that is asked for both gives the
// sessions only, and one that is asked for neither looks through all open files and locks as well.
class SmbstatusRuns {
 public:
  SmbstatusRuns(const Paths& paths, const ToolLimits& limits);

  void drain();
  // What was printed: sessions, shares.
  std::pair<ToolResult, ToolResult> finish();

 private:
  ToolRun sessions_;
  ToolRun shares_;
};

// Starts the tool where a process may serve a session: elsewhere it has nothing to tell, and where
// smbd never ran it would create databases. The other services are then read beside it.
Result<std::optional<SmbstatusRuns>> startSmbstatus(const Sources& sources,
                                                    const ToolLimits& limits);

// Appends the records of samba_records.h, and those of samba_processes.h for sessions that the tool
// does not know. Where the tool fails, one line is logged, and what it would have told comes from
// processes and sockets.
Result<void> readSamba(const Sources& sources, Result<std::optional<SmbstatusRuns>> runs,
                       std::vector<Connection>& connections);

}  // namespace zevo::connections
