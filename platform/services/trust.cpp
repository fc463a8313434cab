#include "services/trust.h"

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

namespace zevo::connections {
namespace {

constexpr int kLongestAncestry = 16;  // pids reused during the scan could form a cycle

constexpr std::array<std::string_view, 4> kSuperServers = {"inetd", "inetutils-inetd",
                                                           "openbsd-inetd", "xinetd"};

bool isSuperServer(std::string_view name) {
  return std::find(kSuperServers.begin(), kSuperServers.end(), name) != kSuperServers.end();
}

// Whether `process` runs the same program as one of root's processes above it, according to the
// scan.
Result<bool> isRootsImage(const Sources& sources, const Process& process) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry; ++i) {
    const Result<bool>& owned = sources.rootOwned(*step);
    if (!owned || *owned) return owned;
    step = sources.processes().find(step->parent);
    if (step == nullptr || !shareImage(process, *step)) return false;
  }
  return false;
}

// Whether a user may control the memory of `process`, although it has the addresses of root's: a
// user's program can take over those that it learns (PR_SET_MM_MAP). The children of a process that
// root of this machine started are no user's to make.
Result<bool> isUsersMemory(const Sources& sources, const Process& process) {
  const Result<bool>& owned = sources.rootOwnedHere(process);
  if (!owned || *owned) return owned.map(std::logical_not<>());
  const Result<bool>& isContainers = sources.rootOwned(process);
  if (!isContainers || *isContainers) return isContainers;  // its root may be a stranger
  const Process* parent = sources.processes().find(process.parent);
  if (parent == nullptr) return true;
  return sources.rootOwnedHere(*parent).map(std::logical_not<>());
}

// The title of `process` if it still runs the program of the scan, otherwise an empty one. May
// never return if a user controls its memory.
Result<Title> titleNow(const Sources& sources, const Process& process) {
  const auto files = sources.filesOf(process);
  if (!files) return errorOf(files);
  // A program executed since the scan may be a user's. One executed after this check has another
  // memory than the one opened before.
  const FileDescriptor memory = files->memory();
  const auto now = readProcess(sources.paths(), process.pid);
  if (!now) return errorOf(now);
  if (!shareImage(process, *now)) return Title();
  return memory ? files->titleIn(memory, *now) : files->title();
}

}  // namespace

Result<void> readTitlesAhead(const Sources& sources, Family family) {
  std::vector<const Process*> users;
  Result<void> outcome;
  for (const Process* process : sources.processes().named(family)) {
    const auto isRoots = isRootsImage(sources, *process);
    if (isRoots && !*isRoots) continue;
    const auto isUsers = isUsersMemory(sources, *process);
    addPart(outcome, isRoots);
    addPart(outcome, isUsers);
    if (isRoots && isUsers && *isUsers) users.push_back(process);
  }
  addPart(outcome, sources.userTitles().read(sources, users));
  return outcome;
}

Result<Title> readTitle(const Sources& sources, const Process& process) {
  const auto isRoots = isRootsImage(sources, process);
  if (!isRoots) return errorOf(isRoots);
  if (!*isRoots) return Title();
  const auto isUsers = isUsersMemory(sources, process);
  if (!isUsers) return errorOf(isUsers);
  return *isUsers ? sources.userTitles().of(sources, process) : titleNow(sources, process);
}

Result<bool> isRootOwned(const ProcessFiles& files) {
  const auto ids = files.userIds();
  if (!ids) return errorOf(ids);
  if (ids->real != 0 && ids->effective != 0 && ids->saved != 0) return false;
  return files.isSetuidProgram().map(std::logical_not<>());
}

Result<const Process*> serverOf(const Sources& sources, const Process& process) {
  const Process* server = nullptr;
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr; ++i) {
    if (server != nullptr && step->name != server->name) break;
    const Result<bool>& owned = sources.rootOwned(*step);
    if (hasFailed(owned)) return errorOf(owned);
    if (owned && *owned) server = step;
    step = sources.processes().find(step->parent);
  }
  return server;
}

Result<bool> isVouchedFor(const Sources& sources, const Process& process, Family family) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr; ++i) {
    const bool isLast = isSuperServer(step->name);
    if (!isLast && !family(step->name)) return false;
    const Result<bool>& owned = sources.rootOwned(*step);
    if (!owned) return owned;
    if (*owned || isLast) return *owned;
    step = sources.processes().find(step->parent);
  }
  return false;
}

Result<bool> isOrphan(const Sources& sources, const Process& process, Family family) {
  const Process* parent = sources.processes().find(process.parent);
  auto inherited = parent != nullptr ? sources.rootOwned(*parent) : Result<bool>(true);
  if (hasFailed(inherited) || (inherited && !*inherited)) return inherited;
  const auto files = sources.filesOf(process);
  auto isRoots = files.and_then(&ProcessFiles::isRootsProgram);
  if (!isRoots || !*isRoots) return isRoots;
  return files->programName().map(family);
}

Result<bool> isBelowOrphan(const Sources& sources, const Process& process, Family family) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr && family(step->name); ++i) {
    auto orphaned = isOrphan(sources, *step, family);
    if (!orphaned || *orphaned) return orphaned;
    step = sources.processes().find(step->parent);
  }
  return false;
}

}  // namespace zevo::connections
