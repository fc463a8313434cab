#include "services/containers.h"

#include <map>
#include <optional>
#include <utility>

#include "base/account_name.h"
#include "host/service_table.h"
#include "services/account_name.h"
#include "services/container_name.h"
#include "services/trust.h"

namespace zevo::connections {
namespace {

constexpr int kTries = 3;

// Whether both see the same accounts file. Adding an account replaces the file, so a difference
// counts only if this machine's file remained the same.
Result<bool> haveSameAccounts(const ProcessFiles& process, const ProcessFiles& home) {
  auto before = home.accountsFile();
  for (int i = 0; i < kTries; ++i) {
    const auto theirs = process.accountsFile();
    auto now = home.accountsFile();
    if (!now) return errorOf(now);
    if (theirs && *theirs == *now) return true;
    if (before && *before == *now) return false;
    before = std::move(now);
  }
  return false;
}

// Whether a server serves this machine's accounts although it has its own mount namespace, like
// many services. A server that is confined to a directory, or that root did not start, is not
// examined: the path to its accounts file could lead through a user's mounts.
bool sharesAccounts(const Sources& sources, const ProcessFiles& server) {
  const auto root = server.root();
  const auto owned = isRootOwned(server);
  if (!root || *root != "/" || !owned || !*owned) return false;
  const auto same = haveSameAccounts(server, sources.home().files);
  return same && *same;
}

// If this kernel lacks the kind, both are 0.
bool hasEnded(const Namespaces& process, const Namespaces& home) {
  return (process.pid == 0 && home.pid != 0) || (process.network == 0 && home.network != 0) ||
         (process.mount == 0 && home.mount != 0);
}

// The number of the namespace in which `server` serves other accounts; 0 if it serves ours.
std::uint64_t otherNamespace(const Sources& sources, const ProcessFiles& server,
                             const Namespaces& namespaces) {
  const Namespaces& home = sources.home().namespaces;
  if (namespaces.pid != home.pid) return namespaces.pid;
  if (namespaces.network != home.network) return namespaces.network;
  if (namespaces.mount == home.mount) return 0;
  return sharesAccounts(sources, server) ? 0 : namespaces.mount;
}

// The result of containerOf() for the process that decides.
Result<std::string> judge(const Sources& sources, const Process& process) {
  const auto files = sources.filesOf(process);
  const auto namespaces = files.and_then(&ProcessFiles::namespaces);
  if (!namespaces) return errorOf(namespaces);
  if (hasEnded(*namespaces, sources.home().namespaces)) return gone();
  const std::uint64_t other = otherNamespace(sources, *files, *namespaces);
  if (other == 0) return std::string();
  const auto cgroups = files->cgroups();
  const auto name = cgroups ? containerName(*cgroups) : std::nullopt;
  return name ? *name : std::to_string(other);
}

// The process with the id `pid`, even if it began after the scan.
Result<Process> processOf(const Sources& sources, pid_t pid) {
  const Process* process = sources.processes().find(pid);
  return process != nullptr ? Result<Process>(*process) : readProcess(sources.paths(), pid);
}

// The result of containerOf() for each process, computed once.
class Containers {
 public:
  explicit Containers(const Sources& sources) : sources_(sources) {}

  const Result<std::string>& of(pid_t pid) {
    const auto found = known_.find(pid);
    if (found != known_.end()) return found->second;
    auto container = processOf(sources_, pid).and_then([this](const Process& process) {
      return containerOf(sources_, process);
    });
    return known_.emplace(pid, std::move(container)).first->second;
  }

 private:
  const Sources& sources_;
  std::map<pid_t, Result<std::string>> known_;
};

bool isOursAnyway(const Connection& connection) {
  return connection.pid == 0 || connection.type == ZEVO_CURCONN_LOGIN;
}

void addContainer(const std::string& container, std::string* user) {
  if (container.empty()) return;
  if (user->empty()) *user = kUnknownUser;
  *user += "@" + container;
}

}  // namespace

Result<std::string> containerOf(const Sources& sources, const Process& process) {
  const auto files = sources.filesOf(process);
  const auto namespaces = files.and_then(&ProcessFiles::namespaces);
  if (!namespaces) return errorOf(namespaces);
  if (*namespaces == sources.home().namespaces) return std::string();  // nearly always
  const auto server = serverOf(sources, process);
  if (!server) return errorOf(server);
  return judge(sources, *server != nullptr ? **server : process);
}

Result<bool> servesThisMachine(const Sources& sources, const Process& process) {
  return containerOf(sources, process).map([](const std::string& name) { return name.empty(); });
}

std::string accountOf(const Sources& sources, const Process& process, uid_t uid) {
  const bool isOurs = servesThisMachine(sources, process).value_or(false);
  return isOurs ? accountName(uid) : std::string(kUnknownUser);
}

void nameContainers(const Sources& sources, std::vector<Connection>* connections) {
  Containers containers(sources);
  std::vector<Connection> told;
  told.reserve(connections->size());
  Result<void> outcome;
  for (Connection& connection : *connections) {
    if (!isOursAnyway(connection)) {
      const Result<std::string>& container = containers.of(connection.pid);
      addPart(outcome, container);
      if (!container) continue;
      addContainer(*container, &connection.user);
    }
    told.push_back(std::move(connection));
  }
  connections->swap(told);
  if (!outcome) sources.note(kConnectionsMissing, "", outcome.error().sentence);
}

}  // namespace zevo::connections
