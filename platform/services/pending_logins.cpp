#include "services/pending_logins.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <poll.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/file_descriptor.h"
#include "host/pending_logins.h"
#include "services/containers.h"
#include "services/openssh.h"
#include "services/trust.h"

namespace zevo::connections {
namespace {

using Clock = std::chrono::steady_clock;
using Names = std::set<std::string>;

constexpr std::chrono::seconds kTimeToEnd{5};  // for all logins together

struct Ending {
  PendingLogin login;
  FileDescriptor process;  // none if it could not be opened
};

// A pidfd, which never refers to a later process with the same pid.
FileDescriptor openProcess(pid_t pid) {
  return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

void terminate(const FileDescriptor& process) {
  static_cast<void>(::syscall(SYS_pidfd_send_signal, process.get(), SIGTERM, nullptr, 0));
}

bool isScanned(const Sources& sources, const Process& process) {
  const auto now = readProcess(sources.paths(), process.pid);
  return now && now->startTicks == process.startTicks;
}

// The processes that talk to the client and to PAM would wait on, even for ever.
void terminateChildren(const Sources& sources, const Process& process) {
  for (const Process* child : sources.processes().children(process.pid)) {
    const FileDescriptor opened = openProcess(child->pid);
    if (opened && isScanned(sources, *child)) terminate(opened);
  }
}

// Starts to end the login that `process` serves, if it serves one.
Result<void> endLogin(const Sources& sources, const Process& process, const Names& users,
                      std::vector<Ending>* endings) {
  const auto user = pendingUser(sources, process, users);
  if (!user || user->empty()) return failureOf(user);
  Ending ending{{*user, process.pid}, openProcess(process.pid)};
  if (ending.process) {
    const auto opened = pendingUser(sources, process, users);
    if (!opened || *opened != *user || !isScanned(sources, process)) return failureOf(opened);
    terminate(ending.process);
    terminateChildren(sources, process);
  } else if (errno == ESRCH) {
    return {};
  }
  endings->push_back(std::move(ending));
  return {};
}

bool endsBefore(Clock::time_point deadline, const FileDescriptor& process) {
  while (process) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd wait{process.get(), POLLIN, 0};
    const int ready = ::poll(&wait, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
  return false;
}

Result<void> endLogins(const Names& users, std::vector<Ending>* endings) {
  const Paths paths;
  const auto processes = ProcessTable::scan(paths);
  if (!processes) return errorOf(processes);
  const Sources sources(paths, *processes, SocketTable::read,
                        [](const std::string& line) { ::syslog(LOG_WARNING, "%s", line.c_str()); });
  Result<void> outcome = processes->unread();
  for (const Process& process : processes->all()) {
    addPart(outcome, endLogin(sources, process, users, endings));
  }
  return outcome;
}

}  // namespace

Result<std::string> pendingUser(const Sources& sources, const Process& process,
                                const std::set<std::string>& users) {
  auto user = guardedAccount(sources, process);
  if (!user) return user;
  if (!users.contains(*user)) return std::string();
  // A process that root's has just forked still has its title.
  const Process* parent = sources.processes().find(process.parent);
  auto above =
      parent != nullptr ? guardedAccount(sources, *parent) : Result<std::string>(std::string());
  if (!above) return above;
  if (!above->empty()) return std::string();
  const auto files = sources.filesOf(process);
  const auto owned = files.and_then(isRootOwned);
  const auto isOurs = servesThisMachine(sources, process);
  // The guard of a session does, and one of a login does not.
  const auto handles =
      files.and_then([](const ProcessFiles& open) { return open.handles(SIGTERM); });
  if (!owned || !isOurs || !handles) return errorOf(owned, isOurs, handles);
  return *owned && *isOurs && !*handles ? user : std::string();
}

}  // namespace zevo::connections

std::vector<zevo::PendingLogin> zevo::endPendingLogins(const std::set<std::string>& users,
                                                       std::string* cause) {
  if (users.empty()) return {};
  std::vector<connections::Ending> endings;
  const Result<void> outcome = connections::endLogins(users, &endings);
  if (!outcome) *cause = outcome.error().sentence;
  const auto deadline = connections::Clock::now() + connections::kTimeToEnd;
  std::vector<PendingLogin> logins;
  for (connections::Ending& ending : endings) {
    ending.login.hasEnded = connections::endsBefore(deadline, ending.process);
    logins.push_back(std::move(ending.login));
  }
  return logins;
}
