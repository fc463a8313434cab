#include "calls/enforce/snapshot.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include "zevo/account.h"
#include "zevo/connections.h"
#include "zevo/error_trail.h"
#include "zevo/login_log.h"

#include "base/numbers.h"
#include "base/process_status.h"
#include "host/list_age.h"

namespace calls::enforce {
namespace {

using Records = std::unique_ptr<_tag_ZEVO_CURCONN_, void (*)(void*)>;

std::string joined(const std::vector<std::string>& causes) {
  std::string text;
  for (const std::string& cause : causes) text += (text.empty() ? "" : "; ") + cause;
  return text;
}

zevo::Result<Page> readPage(const Module& module, const std::string& filter,
                            const ChildTimes& times) {
  ChildCall call{module.list, module.context};
  if (!filter.empty()) call.context.parameters["filter"] = filter;
  const std::optional<MethodAnswer> answer = callInChildren({call}, times).front();
  if (!answer) return zevo::failure("there was no time left to read the connections");
  if (answer->status != MethodAnswer::Status::kDone) {
    const std::string why = joined(answer->causes);
    return zevo::failure(why.empty() ? "cannot read the connections" : why, answer->code);
  }
  std::optional<Page> page = parsePage(answer->data);
  if (!page) return zevo::failure("the answer of \"list\" is not a list of connections");
  page->warnings = answer->warnings;
  return std::move(*page);
}

bool addSmbUsers(Snapshot* snapshot) {
  _tag_ZEVO_CURCONN_* block = nullptr;
  const int count = ZEVOCurConnGet(&block);
  const Records records(block, &std::free);
  for (int i = 0; i < count; ++i) {
    const _tag_ZEVO_CURCONN_& record = block[i];
    if (record.type != ZEVO_CURCONN_CIFS || record.pid <= 1 || *record.user == '\0') continue;
    std::vector<std::string>& users = snapshot->smbUsers[static_cast<std::uint32_t>(record.pid)];
    const std::string user(zevo::shownName(record.user));
    if (std::find(users.begin(), users.end(), user) == users.end()) users.push_back(user);
  }
  return count >= 0;
}

bool countWebLogins(const std::string& sessionFile, Snapshot* snapshot) {
  _tag_ZEVO_CURCONN_* block = nullptr;
  const int count = ZEVOCgiLoginUserCurrentLog(sessionFile.c_str(), &block);
  const Records records(block, &std::free);
  for (int i = 0; i < count; ++i) {
    ++snapshot->webLogins[{std::string(zevo::shownName(block[i].user)), block[i].from}];
  }
  return count >= 0;
}

}  // namespace

std::vector<std::string> Snapshot::usersOf(const Connection& connection) const {
  std::vector<std::string> users;
  if (!connection.who.empty()) users.push_back(connection.who);
  const auto served = connection.type == kSmb ? smbUsers.find(connection.pid) : smbUsers.end();
  if (served == smbUsers.end()) return users;
  for (const std::string& user : served->second) {
    if (user != connection.who) users.push_back(user);
  }
  return users;
}

zevo::Result<Snapshot> readSnapshot(const Module& module, const ChildTimes& times) {
  const auto begin = std::chrono::steady_clock::now();
  zevo::Result<Page> page = readPage(module, "", times);
  if (!page) return tl::unexpected(page.error());
  Snapshot snapshot{std::move(page->connections), std::move(page->warnings)};
  const auto spent = std::chrono::steady_clock::now() - begin;
  // The same read, if nobody has begun another one since. Anything later must read again.
  zevo::acceptListAge(std::chrono::duration_cast<std::chrono::milliseconds>(spent));
  const bool isRead =
      addSmbUsers(&snapshot) && countWebLogins(module.context.sessionFilePath, &snapshot);
  zevo::acceptListAge(std::chrono::milliseconds(0));
  if (!isRead) return zevo::failure(joined(zevo::errorTrail()));
  return snapshot;
}

zevo::Result<std::vector<Connection>> readFiltered(const Module& module, const std::string& filter,
                                                   const ChildTimes& times) {
  zevo::Result<Page> page = readPage(module, filter, times);
  if (!page) return tl::unexpected(page.error());
  return std::move(page->connections);
}

std::vector<std::uint32_t> processesAbove(std::uint32_t process, const std::string& proc) {
  // No chain of processes is longer; a tree that changes while it is read may contain cycles.
  constexpr std::size_t kMostProcesses = 64;
  std::vector<std::uint32_t> above;
  while (above.size() < kMostProcesses) {
    const auto status = zevo::readProcessStatus(process, proc);
    const auto parent = zevo::parseNumber<std::uint32_t>(status ? zevo::statusValue(*status, "PPid")
                                                                : std::string_view());
    if (!parent || *parent == 0) break;
    process = *parent;
    above.push_back(process);
  }
  return above;
}

bool isContinuationOf(const Connection& before, const Connection& row, const std::string& proc) {
  if (!isOfSameClient(before, row)) return false;
  const std::vector<std::uint32_t> above = processesAbove(row.pid, proc);
  if (before.type == kSsh) return !above.empty() && above.front() == before.pid;
  if (before.type != kFtp) return false;
  const auto contains = [](const std::vector<std::uint32_t>& pids, std::uint32_t pid) {
    return std::find(pids.begin(), pids.end(), pid) != pids.end();
  };
  return contains(above, before.pid) || contains(processesAbove(before.pid, proc), row.pid);
}

}  // namespace calls::enforce
