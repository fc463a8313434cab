#include "services/login_process.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/account_name.h"
#include "base/numbers.h"
#include "services/account_name.h"
#include "services/containers.h"
#include "services/process_owner.h"

namespace zevo::connections {
namespace {

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
    const auto index = parseNumber<std::uint32_t>(digits);
    if (!index) continue;
    const std::uint32_t minor = kind.firstMinor + *index;
    if (minor >= 1U << 20U) return std::nullopt;
    return static_cast<std::int32_t>((minor & 0xFFU) | kind.major << 8U | (minor & ~0xFFU) << 12U);
  }
  return std::nullopt;
}

constexpr std::size_t kMostChildren = 16;  // a login program has one

bool isLeader(const Process* process) {
  return process != nullptr && process->pid == process->session;
}

// All candidates for `entry`, the best first.
std::vector<const Process*> candidatesFor(const ProcessTable& processes, const LoginEntry& entry,
                                          const Process& maker) {
  std::vector<const Process*> candidates;
  const auto device = deviceOf(entry.terminal);
  if (device) {
    // Several if others have pseudo terminals of the same name, which any user can create.
    for (const Process& process : processes.all()) {
      if (process.terminal == *device && isLeader(&process)) candidates.push_back(&process);
    }
  }
  for (const pid_t pid : {entry.session, maker.session}) {
    const Process* leader = processes.find(pid);
    if (isLeader(leader)) candidates.push_back(leader);
  }
  candidates.push_back(&maker);
  std::size_t left = kMostChildren;
  for (const Process* child : processes.children(maker.pid)) {
    if (left-- == 0) break;
    candidates.push_back(child);
  }
  return candidates;
}

// Whether the ids of `process` are this machine's accounts.
Result<bool> isOurs(const Sources& sources, const Process& process, const ProcessFiles& files) {
  auto here = runsHere(files, sources.home());
  return here && *here ? servesThisMachine(sources, process) : here;
}

}  // namespace

const Result<uid_t>& LoginProcesses::idOf(const std::string& user) {
  const auto found = ids_.find(user);
  return found != ids_.end() ? found->second : ids_.emplace(user, accountId(user)).first->second;
}

// By the owner, who may signal the process: the effective user would also match root's servers
// while they work for the user.
Result<bool> LoginProcesses::readIsUsers(const Process& process, const std::string& user) {
  const auto files = sources_.filesOf(process);
  const auto owner =
      files.and_then([this](const ProcessFiles& open) { return ownerOf(open, sources_.home()); });
  if (!owner) return errorOf(owner);
  const Result<uid_t>& id = idOf(user);
  const bool fits =
      id ? *id == *owner : user.size() == kLongestUser && accountName(*owner).starts_with(user);
  return fits ? isOurs(sources_, process, *files) : Result<bool>(false);
}

Result<bool> LoginProcesses::isUsers(const Process& process, const std::string& user) {
  const auto [found, isNew] = verdicts_.try_emplace({process.pid, user}, Result<bool>(false));
  if (isNew) found->second = readIsUsers(process, user);
  return found->second;
}

Result<const Process*> LoginProcesses::of(const LoginEntry& entry, const Process& maker) {
  const Result<uid_t>& id = idOf(entry.user);
  if (hasFailed(id)) return errorOf(id);
  for (const Process* process : candidatesFor(sources_.processes(), entry, maker)) {
    const auto fits = isUsers(*process, entry.user);
    if (hasFailed(fits)) return errorOf(fits);
    if (fits && *fits) return process;
  }
  return gone();
}

}  // namespace zevo::connections
