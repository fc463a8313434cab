#include "services/trust.h"

#include <algorithm>
#include <array>

namespace zevo::connections {
namespace {

constexpr int kLongestAncestry =
    16;  // pids that are given anew during the scan could close a circle

constexpr std::array<std::string_view, 4> kSuperServers = {"inetd", "inetutils-inetd",
                                                           "openbsd-inetd", "xinetd"};

bool isSuperServer(std::string_view name) {
  return std::find(kSuperServers.begin(), kSuperServers.end(), name) != kSuperServers.end();
}

// Whether `process` runs what one of root's processes above it runs, as the scan saw them.
Reading<bool> isRootsImage(const Sources& sources, const Process& process) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry; ++i) {
    const Reading<bool>& owned = sources.rootOwned(*step);
    if (!owned.ok() || *owned) return owned;
    step = sources.processes().find(step->parent);
    if (step == nullptr || !shareImage(process, *step)) return false;
  }
  return false;
}

}  // namespace

Reading<Title> readTitle(const Sources& sources, const Process& process) {
  const auto files = sources.filesOf(process);
  const auto isRoots = files.ok() ? isRootsImage(sources, process) : Reading<bool>::like(files);
  if (!isRoots.ok()) return Reading<Title>::like(isRoots);
  if (!*isRoots) return Title();
  // A program that it has run since the scan may be a user's. One that it begins only after this
  // look has another memory than the one that is open by then.
  const FileDescriptor memory = files->memory();
  const auto now = readProcess(sources.paths(), process.pid);
  if (!now.ok()) return Reading<Title>::like(now);
  if (!shareImage(process, *now)) return Title();
  return memory ? files->titleIn(memory, *now) : files->title();
}

Reading<bool> isRootOwned(const ProcessFiles& files) {
  const auto ids = files.userIds();
  if (!ids.ok()) return Reading<bool>::like(ids);
  if (ids->real != 0 && ids->effective != 0 && ids->saved != 0) return false;
  const auto isSetuid = files.isSetuidProgram();
  return isSetuid.ok() ? Reading<bool>(!*isSetuid) : isSetuid;
}

Reading<const Process*> serverOf(const Sources& sources, const Process& process) {
  const Process* server = nullptr;
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr; ++i) {
    if (server != nullptr && step->name != server->name) break;
    const Reading<bool>& owned = sources.rootOwned(*step);
    if (owned.failed()) return Reading<const Process*>::like(owned);
    if (owned.ok() && *owned) server = step;
    step = sources.processes().find(step->parent);
  }
  return server;
}

Reading<bool> isVouchedFor(const Sources& sources, const Process& process, Family family) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr; ++i) {
    const bool isLast = isSuperServer(step->name);
    if (!isLast && !family(step->name)) return false;
    const Reading<bool>& owned = sources.rootOwned(*step);
    if (!owned.ok()) return owned;
    if (*owned || isLast) return *owned;
    step = sources.processes().find(step->parent);
  }
  return false;
}

Reading<bool> isOrphan(const Sources& sources, const Process& process, Family family) {
  const Process* parent = sources.processes().find(process.parent);
  auto inherited = parent != nullptr ? sources.rootOwned(*parent) : Reading<bool>(true);
  if (inherited.failed() || (inherited.ok() && !*inherited)) return inherited;
  const auto files = sources.filesOf(process);
  auto isRoots = files.ok() ? files->isRootsProgram() : Reading<bool>::like(files);
  if (!isRoots.ok() || !*isRoots) return isRoots;
  const auto program = files->programName();
  return program.ok() ? Reading<bool>(family(*program)) : Reading<bool>::like(program);
}

Reading<bool> isBelowOrphan(const Sources& sources, const Process& process, Family family) {
  const Process* step = &process;
  for (int i = 0; i < kLongestAncestry && step != nullptr && family(step->name); ++i) {
    auto orphaned = isOrphan(sources, *step, family);
    if (!orphaned.ok() || *orphaned) return orphaned;
    step = sources.processes().find(step->parent);
  }
  return false;
}

}  // namespace zevo::connections
