#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <string_view>

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
// How much later than its entry a process may have started. What started later still took over the
// pid of one that ended without a word.
constexpr std::time_t kSlackSeconds = 60;

bool isNetworkService(std::string_view name) {
  const auto isIn = [name](std::string_view word) {
    return !word.empty() && name.find(word) != std::string_view::npos;
  };
  return isIn("rlogind") || std::any_of(kListedServices.begin(), kListedServices.end(),
                                        [&](const ListedService& s) { return isIn(s.process); });
}

// Whether one of root's network services stands above `process`, or is it. A user's program under
// the name of one hides nothing.
Reading<bool> isServed(const Sources& sources, const Process& process) {
  const Process* step = &process;
  for (int i = 0; i < kLongestWay && step != nullptr; ++i) {
    if (isNetworkService(step->name)) {
      const auto files = sources.filesOf(*step);
      auto owned = files.ok() ? isRootOwned(*files) : Reading<bool>::like(files);
      if (!owned.ok() || *owned) return owned;
    }
    step = sources.processes().find(step->parent);
  }
  return false;
}

// The process that made `entry`; null where it has ended and the pid is free or somebody else's.
const Process* makerOf(const Sources& sources, const LoginEntry& entry) {
  const Process* maker = sources.processes().find(entry.pid);
  if (maker == nullptr || entry.pid < 2) return nullptr;
  const auto boot = sources.bootTime();
  const auto start = sources.startTime(*maker);
  // An entry from before the start of the system was made while the clock was not set yet.
  const bool isComparable = boot && start && entry.time >= *boot;
  return isComparable && *start > entry.time + kSlackSeconds ? nullptr : maker;
}

Outcome appendLogin(const Sources& sources, const LoginEntry& entry, LoginProcesses& logins,
                    std::vector<Connection>* connections) {
  const Process* maker = makerOf(sources, entry);
  if (maker == nullptr) return Outcome::done();
  const auto users = logins.of(entry, *maker);
  if (users.failed()) return Outcome::failure(users.cause());
  if (!users.ok()) return Outcome::done();
  for (const Process* process : {maker, *users}) {
    const auto served = isServed(sources, *process);
    if (served.failed()) return Outcome::failure(served.cause());
    if (!served.ok() || *served) return Outcome::done();
  }
  connections->push_back({.pid = (*users)->pid,
                          .time = localTimeText(entry.time),
                          .from = entry.from,
                          .user = entry.user,
                          .descr = entry.terminal,
                          .type = ZEVO_CURCONN_LOGIN});
  return Outcome::done();
}

Outcome readEntries(const Paths& paths, std::vector<LoginEntry>* entries) {
  std::string bytes;
  const auto failure = readFile(paths.utmp, kUtmpLimit, &bytes);
  if (failure && failure->error == ENOENT) return readLogindSessions(paths.logindSessions, entries);
  if (failure) return Outcome::failure(failure->text());
  *entries = parseUtmp(bytes);
  return isTorn(bytes) ? Outcome::failure(paths.utmp + " ends in the middle of an entry")
                       : Outcome::done();
}

}  // namespace

Outcome readLogins(const Sources& sources, std::vector<Connection>& connections) {
  std::vector<LoginEntry> entries;
  Outcome outcome = readEntries(sources.paths(), &entries);
  LoginProcesses logins(sources);
  for (const LoginEntry& entry : entries) {
    outcome.add(appendLogin(sources, entry, logins, &connections));
  }
  return outcome;
}

}  // namespace zevo::connections
