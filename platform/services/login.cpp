#include <algorithm>
#include <cerrno>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "base/local_time.h"
#include "base/read_file.h"
#include "host/service_table.h"
#include "services/collectors.h"
#include "services/login_process.h"
#include "services/logind.h"
#include "services/trust.h"
#include "services/utmp.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kUtmpLimit = 64UL * 1024 * 1024;  // 170,000 entries
constexpr int kLongestWay = 32;                         // up through parents
// How much later than its entry a process may have started. A process that started later has reused
// the pid of one that ended unnoticed.
constexpr std::time_t kSlackSeconds = 60;

bool isNetworkService(std::string_view name) {
  const auto isIn = [name](std::string_view word) {
    return !word.empty() && name.find(word) != std::string_view::npos;
  };
  return isIn("rlogind") || std::any_of(kListedServices.begin(), kListedServices.end(),
                                        [&](const ListedService& s) { return isIn(s.process); });
}

// Whether `process` or one of its ancestors is one of root's network services. A user's program
// with such a name does not count.
Result<bool> isServed(const Sources& sources, const Process& process) {
  const Process* step = &process;
  for (int i = 0; i < kLongestWay && step != nullptr; ++i) {
    if (isNetworkService(step->name)) {
      auto owned = sources.filesOf(*step).and_then(isRootOwned);
      if (!owned || *owned) return owned;
    }
    step = sources.processes().find(step->parent);
  }
  return false;
}

// The process that created `entry`; null if it has ended and the pid is free or reused.
const Process* makerOf(const Sources& sources, const LoginEntry& entry) {
  const Process* maker = sources.processes().find(entry.pid);
  if (maker == nullptr || entry.pid < 2) return nullptr;
  const auto boot = sources.bootTime();
  const auto start = sources.startTime(*maker);
  // An entry from before the start of the system was written before the clock was set.
  const bool isComparable = boot && start && entry.time >= *boot;
  return isComparable && *start > entry.time + kSlackSeconds ? nullptr : maker;
}

Result<void> appendLogin(const Sources& sources, const LoginEntry& entry, LoginProcesses& logins,
                         std::vector<Connection>* connections) {
  const Process* maker = makerOf(sources, entry);
  if (maker == nullptr) return {};
  const auto users = logins.of(entry, *maker);
  if (!users) return failureOf(users);
  for (const Process* process : {maker, *users}) {
    const auto served = isServed(sources, *process);
    if (!served || *served) return failureOf(served);
  }
  connections->push_back({.pid = (*users)->pid,
                          .time = localTimeText(entry.time),
                          .from = entry.from,
                          .user = entry.user,
                          .descr = entry.terminal,
                          .type = ZEVO_CURCONN_LOGIN});
  return {};
}

Result<void> readUtmp(const std::string& path, std::vector<LoginEntry>* entries) {
  std::string bytes;
  const auto cause = readFile(path, kUtmpLimit, &bytes);
  if (cause && cause->error == ENOENT) return {};
  if (cause) return failure(cause->text());
  *entries = parseUtmp(bytes);
  if (isTorn(bytes)) return failure(path + " ends in the middle of an entry");
  return {};
}

}  // namespace

Result<void> readLogins(const Sources& sources, std::vector<Connection>& connections) {
  const Paths& paths = sources.paths();
  std::vector<LoginEntry> inUtmp;
  std::vector<LoginEntry> inLogind;
  Result<void> outcome = readUtmp(paths.utmp, &inUtmp);
  addPart(outcome, readLogindSessions(paths.logindSessions, &inLogind));
  LoginProcesses logins(sources);
  const auto served = [&](const std::vector<LoginEntry>& entries) {
    std::vector<Connection> found;
    for (const LoginEntry& entry : entries) {
      addPart(outcome, appendLogin(sources, entry, logins, &found));
    }
    return found;
  };
  const std::vector<Connection> fromUtmp = served(inUtmp);
  std::vector<Connection> fromLogind = served(inLogind);
  // Most logins are in both; on Debian 13 the login program makes no entry in utmp.
  std::set<pid_t> known;
  for (const Connection& login : fromUtmp) known.insert(login.pid);
  std::erase_if(fromLogind, [&](const Connection& login) { return known.contains(login.pid); });
  for (const auto* part : {&fromUtmp, &std::as_const(fromLogind)}) {
    connections.insert(connections.end(), part->begin(), part->end());
  }
  return outcome;
}

}  // namespace zevo::connections
