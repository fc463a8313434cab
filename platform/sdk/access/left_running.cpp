#include "sdk/access/left_running.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>
#include <sys/stat.h>

#include "zevo/account.h"

#include "base/open_folder.h"
#include "sdk/connections/process_files.h"
#include "sdk/connections/process_table.h"

namespace zevo::access {
namespace {

constexpr std::array<const char*, 2> kCrontabs = {"/var/spool/cron/crontabs", "/var/spool/cron"};
constexpr std::array<const char*, 2> kAtJobs = {"/var/spool/cron/atjobs", "/var/spool/at"};

// `pids` and all processes below them.
std::set<pid_t> withDescendants(const connections::ProcessTable& processes,
                                const std::vector<pid_t>& pids) {
  std::vector<pid_t> waiting = pids;
  std::set<pid_t> all;
  while (!waiting.empty()) {
    const pid_t pid = waiting.back();
    waiting.pop_back();
    if (!all.insert(pid).second) continue;
    for (const auto* child : processes.children(pid)) waiting.push_back(child->pid);
  }
  return all;
}

// That of the first process, else our own; 0 where neither can be read.
std::uint64_t homeNamespace(const connections::Paths& paths) {
  for (const auto& files :
       {connections::ProcessFiles::open(paths, 1), connections::ProcessFiles::openOwn(paths)}) {
    if (!files.ok()) continue;
    const auto namespaces = files->namespaces();
    if (namespaces.ok() && namespaces->pid != 0) return namespaces->pid;
  }
  return 0;
}

// Whether it runs as `uid` of this machine: in a container the number is somebody else's.
bool isOf(const connections::ProcessFiles& process, uid_t uid, std::uint64_t home) {
  const auto ids = process.userIds();
  if (!ids.ok() || ids->real != uid) return false;
  const auto namespaces = process.namespaces();
  return namespaces.ok() && namespaces->pid == home;
}

std::size_t countProcesses(const std::string& root, uid_t uid, const std::vector<pid_t>& except) {
  connections::Paths paths;
  paths.proc = root + paths.proc;
  const auto table = connections::ProcessTable::scan(paths);
  if (!table.ok()) return 0;
  const std::set<pid_t> others = withDescendants(*table, except);
  const std::uint64_t home = homeNamespace(paths);
  const auto all = table->all();
  const auto count = std::count_if(all.begin(), all.end(), [&](const auto& process) {
    if (others.contains(process.pid)) return false;
    const auto files = connections::ProcessFiles::open(paths, process.pid);
    return files.ok() && isOf(*files, uid, home);
  });
  return static_cast<std::size_t>(count);
}

bool isFile(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Jobs belong to whoever they run as.
std::size_t countJobs(const std::string& folder, uid_t uid) {
  const OpenFolder jobs(::opendir(folder.c_str()));
  std::size_t count = 0;
  while (jobs) {
    const dirent* entry = ::readdir(jobs.get());
    if (entry == nullptr) break;
    struct stat status {};
    const bool isJob =
        ::fstatat(::dirfd(jobs.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(status.st_mode) && entry->d_name[0] != '.';
    if (isJob && status.st_uid == uid) ++count;
  }
  return count;
}

}  // namespace

LeftRunning leftRunning(const std::string& root, const std::string& name, uid_t uid,
                        const std::vector<pid_t>& except) {
  LeftRunning left;
  left.processes = countProcesses(root, uid, except);
  for (const char* folder : kCrontabs)
    left.hasCrontab |= isFile(std::string(root).append(folder).append("/").append(name));
  for (const char* folder : kAtJobs) left.atJobs += countJobs(root + folder, uid);
  return left;
}

}  // namespace zevo::access

zevo::LeftRunning zevo::leftRunning(const std::string& account, const std::vector<pid_t>& except) {
  UserRecord* record = nullptr;
  if (ZEVOUserGet(account.c_str(), &record) < 0 || record == nullptr) return {};
  const std::unique_ptr<UserRecord, void (*)(UserRecord*)> user(record, &ZEVOUserFree);
  return access::leftRunning("", user->name, user->uid, except);
}
