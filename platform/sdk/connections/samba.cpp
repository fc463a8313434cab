#include "sdk/connections/samba.h"

#include <charconv>
#include <string>

#include "base/read_file.h"
#include "sdk/connections/samba_processes.h"
#include "sdk/connections/samba_records.h"
#include "sdk/connections/smbstatus.h"

namespace zevo::connections {
namespace {

// The process of smbd itself that `path` names, or 0.
pid_t readPidFile(const std::string& path) {
  std::string text;
  if (readFile(path, 64, &text)) return 0;
  pid_t pid = 0;
  const std::size_t digit = text.find_first_not_of(' ');
  if (digit == std::string::npos) return 0;
  std::from_chars(text.data() + digit, text.data() + text.size(), pid);
  return pid > 1 && pid <= kPidMax ? pid : 0;
}

bool isRunningSmbd(const Paths& paths, pid_t pid) {
  const auto process = readProcess(paths, pid);
  return process.ok() && !process->hasEnded && isSmbd(process->name);
}

// Why an answer cannot be used.
std::string causeOf(const ToolResult& result) {
  return result.complete ? "gave no answer that can be read" : result.cause;
}

}  // namespace

SmbstatusRuns::SmbstatusRuns(const Paths& paths, const ToolLimits& limits)
    : sessions_({paths.smbstatus, "--json", "--processes"}, limits),
      shares_({paths.smbstatus, "--json", "--shares"}, limits) {}

void SmbstatusRuns::drain() {
  sessions_.drain();
  shares_.drain();
}

std::pair<ToolResult, ToolResult> SmbstatusRuns::finish() {
  ToolResult sessions = sessions_.finish();
  return {std::move(sessions), shares_.finish()};
}

std::optional<SmbstatusRuns> startSmbstatus(const Paths& paths, const ToolLimits& limits) {
  for (const std::string& path : paths.smbdPids) {
    const pid_t pid = readPidFile(path);
    if (pid != 0 && isRunningSmbd(paths, pid)) return SmbstatusRuns(paths, limits);
  }
  return std::nullopt;
}

Outcome readSamba(const Sources& sources, std::optional<SmbstatusRuns> runs,
                  const ToolLimits& limits, std::vector<Connection>& connections) {
  if (!runs) {
    const auto running = isSmbdRunning(sources);
    if (running.failed()) return Outcome::failure(running.cause());
    if (!running.ok() || !*running) return Outcome::done();
    runs.emplace(sources.paths(), limits);
  }
  const auto [sessionsAnswer, sharesAnswer] = runs->finish();
  std::optional<std::vector<SmbSession>> sessions;
  std::optional<std::vector<SmbShare>> shares;
  if (sessionsAnswer.complete) sessions = parseSmbSessions(sessionsAnswer.output);
  if (sharesAnswer.complete) shares = parseSmbShares(sharesAnswer.output);
  if (!sessions || !shares) {
    sources.note(
        kDetailsMissing, "CIFS",
        "Samba: " + sources.paths().smbstatus + " " +
            causeOf(sessions ? sharesAnswer : sessionsAnswer) +
            "; its connections are listed without what it would tell (it needs release 4.17 "
            "or later)");
  }
  if (!sessions) return appendSmbProcesses(sources, &connections);
  return appendSmbSessions(sources, *sessions, shares, &connections);
}

}  // namespace zevo::connections
