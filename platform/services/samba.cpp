#include "services/samba.h"

#include <string>
#include <unordered_map>

#include "base/account_name.h"
#include "base/numbers.h"
#include "host/service_table.h"
#include "services/samba_processes.h"
#include "services/samba_records.h"
#include "services/smbstatus.h"

namespace zevo::connections {
namespace {

// Why an answer cannot be used.
std::string causeOf(const ToolResult& result) {
  return result.complete ? "gave an unreadable answer" : result.cause;
}

// The tool gives ids, since it would look up user and group of each session anew.
void nameUsers(std::vector<SmbSession>* sessions) {
  std::unordered_map<std::string, std::string> names;
  for (SmbSession& session : *sessions) {
    const auto [entry, isNew] = names.try_emplace(session.user, session.user);
    const auto uid = parseNumber<uid_t>(session.user);
    if (isNew && uid) entry->second = accountName(*uid);
    session.user = entry->second;
  }
}

}  // namespace

SmbstatusRuns::SmbstatusRuns(const Paths& paths, const ToolLimits& limits)
    : sessions_({paths.smbstatus, "--json", "--processes", "--numeric"}, limits),
      shares_({paths.smbstatus, "--json", "--shares"}, limits) {}

void SmbstatusRuns::drain() {
  sessions_.drain();
  shares_.drain();
}

std::pair<ToolResult, ToolResult> SmbstatusRuns::finish() {
  ToolResult sessions = sessions_.finish();
  return {std::move(sessions), shares_.finish()};
}

Result<std::optional<SmbstatusRuns>> startSmbstatus(const Sources& sources,
                                                    const ToolLimits& limits) {
  const auto serving = isSmbServed(sources);
  if (!serving) return errorOf(serving);
  std::optional<SmbstatusRuns> runs;
  if (*serving) runs.emplace(sources.paths(), limits);
  return runs;
}

Result<void> readSamba(const Sources& sources, Result<std::optional<SmbstatusRuns>> runs,
                       std::vector<Connection>& connections) {
  if (!runs) return errorOf(runs);
  if (!*runs) return appendSmbProcesses(sources, kLongestSmbLogin, &connections);
  const auto [sessionsAnswer, sharesAnswer] = (*runs)->finish();
  std::optional<std::vector<SmbSession>> sessions;
  std::optional<std::vector<SmbShare>> shares;
  if (sessionsAnswer.complete) sessions = parseSmbSessions(sessionsAnswer.output);
  if (sharesAnswer.complete) shares = parseSmbShares(sharesAnswer.output);
  if (!sessions || !shares) {
    sources.note(kDetailsMissing, serviceName(ZEVO_CURCONN_CIFS),
                 "Samba: " + sources.paths().smbstatus + " " +
                     causeOf(sessions ? sharesAnswer : sessionsAnswer) +
                     "; connections are listed without its data (it needs release 4.17 "
                     "or later)");
  }
  if (!sessions) return appendSmbProcesses(sources, std::chrono::milliseconds(0), &connections);
  nameUsers(&*sessions);
  Result<void> outcome = appendSmbSessions(sources, *sessions, shares, &connections);
  addPart(outcome, appendSmbProcesses(sources, kLongestSmbLogin, &connections));
  return outcome;
}

}  // namespace zevo::connections
