#include "enforce/kill_sessions.h"

#include <locale>
#include <signal.h>
#include <sstream>

#include "zevo/keyed_file.h"

#include "api/privileged_section.h"
#include "enforce/server_process.h"

namespace {

enum KillLine : int { kKillEnterLine = 260, kKillLeaveLine = 262 };

constexpr int kNameBufferSize = 1024;
constexpr int kAnySuffix = 2;

// Whether the process may be signalled: its name matches the service, or its status cannot be read.
bool isToBeSignalled(const Session& session, const std::string& statusPath) {
  char line[kNameBufferSize] = {};
  if (VLIBCFileGetLine(statusPath.c_str(), "Name:", line, kNameBufferSize, kAnySuffix) <= 0)
    return true;
  return servesType(session.pid, session.type, line + sizeof("Name:") - 1);
}

void sendSignal(std::uint32_t pid, int signal) {
  const PrivilegedSection section(kKillEnterLine, kKillLeaveLine);
  if (isProcessId(pid)) kill(static_cast<pid_t>(pid), signal);
}

}  // namespace

void KillServiceSessions(SessionList& list, int signal) {
  std::ostringstream path;
  // If memory ran out, a partial path would remain, which cannot be read, and the check would be
  // skipped.
  path.exceptions(std::ios::badbit);
  // The digits must not be grouped, whatever the host's locale.
  path.imbue(std::locale::classic());
  for (const Session& session : list) {
    if (session.pid == 0 || session.type == "NFS") continue;
    // Never cleared between sessions, see the header.
    path << "/proc/" << session.pid << "/status";
    if (isToBeSignalled(session, path.str())) sendSignal(session.pid, signal);
  }
}
