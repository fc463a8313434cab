#include "services/samba_records.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/service_table.h"
#include "services/client_sockets.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kHiddenShare = "IPC$";

// The records from the tool's answers.
class SessionRecords {
 public:
  explicit SessionRecords(const Sources& sources) : sources_(sources) {}

  Result<void> append(const std::vector<SmbSession>& sessions,
                      const std::optional<std::vector<SmbShare>>& shares,
                      std::vector<Connection>* connections);

 private:
  using Shares = std::vector<const SmbShare*>;

  Result<Process> serverOf(const SmbSession& session) const;
  Result<bool> isServedHere(const SmbSession& session, const Process& process) const;
  Result<void> appendSession(const SmbSession& session, const Shares& shares,
                             std::vector<Connection>* connections);
  [[nodiscard]] std::string describe(const SmbSession& session, std::string_view share) const;

  const Sources& sources_;
  // By node and pid.
  std::map<std::pair<std::string, std::int64_t>, std::set<std::string>> usersOf_;
  bool areSharesKnown_ = false;
  int elsewhere_ = 0;  // sessions of other nodes
};

// The process that serves the session. Gone if the answer is outdated.
Result<Process> SessionRecords::serverOf(const SmbSession& session) const {
  if (session.pid < 2 || session.pid > kPidMax) return gone();
  const auto pid = static_cast<pid_t>(session.pid);
  const Process* scanned = sources_.processes().find(pid);
  // A session that began after the scan is known only to the tool.
  auto process = scanned ? Result<Process>(*scanned) : readProcess(sources_.paths(), pid);
  if (process && (process->hasEnded || !isSmbSessionName(process->name))) {
    return gone();
  }
  return process;
}

// Pids of other nodes of a cluster may also be in use here, so the client's end of the connection
// decides.
Result<bool> SessionRecords::isServedHere(const SmbSession& session, const Process& process) const {
  const auto sockets = connectionsOf(sources_, process, isSmbd);
  if (!sockets) return errorOf(sockets);
  return std::any_of(sockets->begin(), sockets->end(), [&session](const Socket& socket) {
    return socket.remote.port == session.clientPort && numericText(socket.remote) == session.from;
  });
}

std::string SessionRecords::describe(const SmbSession& session, std::string_view share) const {
  std::string descr(share);
  const auto users = usersOf_.find({session.node, session.pid});
  if (users == usersOf_.end() || users->second.size() < 2) return descr;
  if (!descr.empty()) descr += ' ';
  return descr + "(" + session.user + ")";
}

Result<void> SessionRecords::appendSession(const SmbSession& session, const Shares& shares,
                                           std::vector<Connection>* connections) {
  const auto process = serverOf(session);
  if (hasFailed(process)) return errorOf(process);
  const auto isHere = !session.node.empty() && process ? isServedHere(session, *process)
                                                       : Result<bool>(session.node.empty());
  if (isHere && !*isHere) ++elsewhere_;
  if (!process || !isHere || !*isHere) return failureOf(isHere);

  Connection connection{.pid = process->pid,
                        .time = session.time,
                        .from = session.from,
                        .user = session.user.empty() ? kUnknownUser : session.user,
                        .descr = {},
                        .type = ZEVO_CURCONN_CIFS};
  if (connection.time.empty()) connection.time = sources_.startText(*process);
  if (shares.empty()) {
    connection.descr = describe(session, areSharesKnown_ ? std::string_view() : kUnknownSmbShare);
    connections->push_back(connection);
  }
  for (const SmbShare* share : shares) {
    connections->push_back(connection);
    connections->back().descr = describe(session, share->name);
    if (!share->time.empty()) connections->back().time = share->time;
  }
  return {};
}

// Removes IPC$ if there is any other share, and all but one of it otherwise.
void hideIpc(std::vector<const SmbShare*>* shares) {
  const auto isHidden = [](const SmbShare* share) { return share->name == kHiddenShare; };
  const bool hasOther = !std::all_of(shares->begin(), shares->end(), isHidden);
  if (hasOther) {
    std::erase_if(*shares, isHidden);
  } else if (shares->size() > 1) {
    shares->erase(shares->begin() + 1, shares->end());
  }
}

Result<void> SessionRecords::append(const std::vector<SmbSession>& sessions,
                                    const std::optional<std::vector<SmbShare>>& shares,
                                    std::vector<Connection>* connections) {
  areSharesKnown_ = shares.has_value();
  std::unordered_map<std::string_view, Shares> sharesOf;
  if (shares) {
    for (const SmbShare& share : *shares) sharesOf[share.sessionId].push_back(&share);
  }
  for (const SmbSession& session : sessions)
    usersOf_[{session.node, session.pid}].insert(session.user);
  Result<void> outcome;
  for (const SmbSession& session : sessions) {
    Shares& ofSession = sharesOf[session.id];
    hideIpc(&ofSession);
    addPart(outcome, appendSession(session, ofSession, connections));
  }
  if (elsewhere_ > 0) {
    sources_.log("Samba: " + std::to_string(elsewhere_) +
                 " sessions of other nodes of the cluster are not listed here");
  }
  return outcome;
}

}  // namespace

bool isSmbd(std::string_view name) {
  return name.starts_with("smbd");
}

bool isSmbSessionName(std::string_view name) {
  return name == "smbd" || name.starts_with("smbd[");
}

Result<void> appendSmbSessions(const Sources& sources, const std::vector<SmbSession>& sessions,
                               const std::optional<std::vector<SmbShare>>& shares,
                               std::vector<Connection>* connections) {
  return SessionRecords(sources).append(sessions, shares, connections);
}

}  // namespace zevo::connections
