#include "sdk/access/left_running.h"

#include <array>
#include <map>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <utility>

#include "zevo/account.h"

#include "base/account_name.h"
#include "base/open_folder.h"
#include "services/process_owner.h"
#include "services/process_table.h"

namespace zevo::access {
namespace {

using connections::Home;
using connections::ProcessFiles;

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

// Those of one user id; two accounts may share it.
using OfUser = std::multimap<uid_t, LeftRunning*>;

// Whose the process is; `ofUser.end()` twice for nobody's of them.
std::pair<OfUser::iterator, OfUser::iterator> ownersOf(const ProcessFiles& process,
                                                       const Home& home, OfUser& ofUser) {
  const std::pair none(ofUser.end(), ofUser.end());
  const auto owner = ownerOf(process, home);
  if (!owner || !ofUser.contains(*owner)) return none;
  return runsHere(process, home).value_or(false) ? ofUser.equal_range(*owner) : none;
}

// Whether a query for the user's processes in the initial namespace misses it.
bool isApart(const ProcessFiles& process, uid_t uid, const Home& home) {
  const auto ids = process.userIds();
  const auto number = process.namespaceNumber("pid");
  return (ids && ids->real != uid) || (number && *number != home.namespaces.pid);
}

void countProcesses(const std::string& root, const std::vector<pid_t>& except, OfUser ofUser) {
  connections::Paths paths;
  paths.proc = root + paths.proc;
  paths.subuid = root + paths.subuid;
  const auto table = connections::ProcessTable::scan(paths);
  if (!table) return;
  const std::set<pid_t> others = withDescendants(*table, except);
  const Home home = readHome(paths);
  for (const auto& process : table->all()) {
    if (others.contains(process.pid)) continue;
    const auto files = ProcessFiles::open(paths, process.pid);
    if (!files) continue;
    const auto [first, last] = ownersOf(*files, home, ofUser);
    for (auto one = first; one != last; ++one) {
      ++one->second->processes;
      if (isApart(*files, one->first, home)) one->second->apart.push_back(process.pid);
    }
  }
}

bool isFile(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// Jobs belong to the account they run as.
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

std::map<std::string, LeftRunning> leftRunning(const std::string& root,
                                               const std::map<std::string, uid_t>& accounts,
                                               const std::vector<pid_t>& except) {
  std::map<std::string, LeftRunning> all;
  OfUser ofUser;
  for (const auto& [name, uid] : accounts) {
    LeftRunning& left = all[name];
    ofUser.emplace(uid, &left);
    for (const char* folder : kCrontabs)
      left.hasCrontab |= isFile(std::string(root).append(folder).append("/").append(name));
    for (const char* folder : kAtJobs) left.atJobs += countJobs(root + folder, uid);
  }
  countProcesses(root, except, std::move(ofUser));
  return all;
}

}  // namespace zevo::access

std::map<std::string, zevo::LeftRunning> zevo::leftRunning(const std::vector<std::string>& accounts,
                                                           const std::vector<pid_t>& except) {
  std::map<std::string, uid_t> known;
  std::map<std::string, std::string> names;  // as the name service has them
  for (const std::string& account : accounts) {
    UserRecord* record = nullptr;
    if (!canBeAccountName(account) || ZEVOUserGet(account.c_str(), &record) < 0) continue;
    const std::unique_ptr<UserRecord, void (*)(UserRecord*)> user(record, &ZEVOUserFree);
    if (!user) continue;
    names.emplace(account, user->name);
    known.emplace(user->name, user->uid);
  }
  auto found = access::leftRunning("", known, except);
  std::map<std::string, LeftRunning> all;
  for (const std::string& account : accounts) {
    LeftRunning& left = all[account] = found[names[account]];
    if (const auto uid = known.find(names[account]); uid != known.end()) left.uid = uid->second;
  }
  return all;
}
