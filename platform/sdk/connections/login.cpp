#include "sdk/connections/login.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <string>
#include <utility>

#include "base/local_time.h"
#include "base/read_file.h"
#include "sdk/connections/logind.h"
#include "sdk/connections/trust.h"
#include "sdk/connections/utmp.h"

namespace zevo::connections {
namespace {

constexpr std::size_t kUtmpLimit = 64UL * 1024 * 1024;  // 170,000 entries
constexpr int kLongestWay = 32;                         // up through parents
// How much later than its entry a process may have started. What started later still took over the
// pid of one that ended without a word.
constexpr std::time_t kSlackSeconds = 60;

bool isNetworkService(std::string_view name) {
  constexpr std::array<std::string_view, 6> kWords = {"sshd",    "telnetd", "ftpd",
                                                      "rlogind", "smbd",    "afpd"};
  return std::any_of(kWords.begin(), kWords.end(), [name](std::string_view word) {
    return name.find(word) != std::string_view::npos;
  });
}

// Device number of "tty1", "ttyS0" or "pts/3" as proc(5) encodes it; nothing for other names.
std::optional<std::int32_t> deviceOf(std::string_view terminal) {
  struct Terminals {
    std::string_view prefix;
    std::uint32_t major;
    std::uint32_t firstMinor;
  };
  // Numbers of the kernel's list of devices.
  constexpr std::array<Terminals, 3> kKinds = {{{"ttyS", 4, 64}, {"tty", 4, 0}, {"pts/", 136, 0}}};
  for (const Terminals& kind : kKinds) {
    if (!terminal.starts_with(kind.prefix)) continue;
    const std::string_view digits = terminal.substr(kind.prefix.size());
    std::uint32_t index = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (error != std::errc() || end != digits.data() + digits.size()) continue;
    const std::uint32_t minor = kind.firstMinor + index;
    if (minor >= 1U << 20U) return std::nullopt;
    return static_cast<std::int32_t>((minor & 0xFFU) | kind.major << 8U | (minor & ~0xFFU) << 12U);
  }
  return std::nullopt;
}

bool isLeader(const Process* process) {
  return process != nullptr && process->pid == process->session;
}

// The leader of the session that `entry` stands for: the one of its terminal, else the one that the
// entry names, else that of the process that made the entry.
const Process& leaderOf(const Sources& sources, const LoginEntry& entry, const Process& maker) {
  const ProcessTable& processes = sources.processes();
  const auto device = deviceOf(entry.terminal);
  if (device) {
    for (const Process& process : processes.all()) {
      if (process.terminal == *device && isLeader(&process)) return process;
    }
  }
  for (const pid_t pid : {entry.session, maker.session}) {
    const Process* leader = processes.find(pid);
    if (isLeader(leader)) return *leader;
  }
  return maker;
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

Outcome appendLogin(const Sources& sources, const LoginEntry& entry,
                    std::vector<Connection>* connections) {
  const Process* maker = makerOf(sources, entry);
  if (maker == nullptr) return Outcome::done();
  const Process& leader = leaderOf(sources, entry, *maker);
  for (const Process* process : {maker, &leader}) {
    const auto served = isServed(sources, *process);
    if (served.failed()) return Outcome::failure(served.cause());
    if (!served.ok() || *served) return Outcome::done();
  }
  connections->push_back({.pid = leader.pid,
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
  for (const LoginEntry& entry : entries) outcome.add(appendLogin(sources, entry, &connections));
  return outcome;
}

}  // namespace zevo::connections
