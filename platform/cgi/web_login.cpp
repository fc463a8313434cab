#include "zevo/web_login.h"

#include <array>
#include <dirent.h>
#include <functional>
#include <set>
#include <string_view>
#include <unistd.h>
#include <vector>

#include <climits>

#include "zevo/session_file.h"

#include "base/atomic_file.h"
#include "base/open_folder.h"
#include "base/read_file.h"
#include "base/text.h"
#include "cgi/access_times.h"
#include "cgi/critical_section.h"
#include "cgi/failure.h"
#include "cgi/session_lines.h"
#include "cgi/session_record.h"
#include "cgi/session_writer.h"

namespace zevo {
namespace {

constexpr int kLockMilliseconds = 60000;

using Condition = std::function<bool(json_object* record)>;

std::optional<WebLogin> loginOf(json_object* record) {
  const char* client = sessionText(record, kClientField);
  const char* user = sessionText(record, kUserField);
  const std::int64_t number = sessionNumber(record, kNumberField, 0);
  const std::int64_t uid = sessionNumber(record, kUidField, -1);
  if (client == nullptr || user == nullptr || number <= 0 || number > INT_MAX || uid < 0 ||
      uid > UINT_MAX) {
    return std::nullopt;
  }
  const char* browser = sessionText(record, kBrowserField);
  return WebLogin{.id = sessionIdOf(record),
                  .user = user,
                  .uid = static_cast<uid_t>(uid),
                  .address = client,
                  .browser = browser != nullptr ? browser : "",
                  .started = static_cast<std::time_t>(sessionNumber(record, kStartField, 0)),
                  .number = static_cast<int>(number)};
}

// Access times without a login are left by a crash between the two writes.
void removeStrayTimes(const AccessTimes& times, const std::set<std::string, std::less<>>& ids) {
  const int copy = times.folder() ? ::fcntl(times.folder().get(), F_DUPFD_CLOEXEC, 0) : -1;
  const OpenFolder entries(::fdopendir(copy));
  if (!entries) {
    if (copy >= 0) ::close(copy);
    return;
  }
  ::rewinddir(entries.get());  // the copy shares its position with the original
  while (const dirent* entry = ::readdir(entries.get())) {
    if (isSessionId(entry->d_name) && !ids.contains(entry->d_name)) times.remove(entry->d_name);
  }
}

// Removes the logins that `isDoomed` names, and their access times. Lines that are no record stay.
bool removeLogins(const std::string& path, const Condition& isDoomed) {
  const CriticalSection section(path, kLockMilliseconds);
  if (!section) return false;
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content))
    return failAtFile(*failure);
  std::vector<std::string_view> kept;
  std::set<std::string, std::less<>> ids;
  bool isChanged = false;
  for (const std::string_view line : linesOf(content)) {
    const JsonObject record = parseSessionRecord(line);
    if (record && isDoomed(record.get())) {
      isChanged = true;
      continue;
    }
    kept.push_back(line);
    if (record) ids.insert(sessionIdOf(record.get()));
  }
  if (isChanged) {
    const auto failure = replaceFile(path, kept, {.removeLeftovers = true});
    if (failure) return failAtFile(*failure);
  }
  removeStrayTimes(AccessTimes(path), ids);
  return true;
}

}  // namespace

bool addWebLogin(const std::string& path, WebLogin* login) {
  if (ZEVOCgiSessionFileCreate(path.c_str()) != 0) return false;
  const AccessTimes times(path);
  const bool isSwept = removeLogins(
      path, [&times](json_object* record) { return !times.isCurrent(sessionIdOf(record)); });
  if (!isSwept) return false;
  const int number = appendLogin(path,
                                 {.id = login->id,
                                  .client = login->address,
                                  .user = login->user,
                                  .browser = login->browser,
                                  .start = login->started,
                                  .uid = login->uid},
                                 kLockMilliseconds);
  if (number <= 0) return false;
  login->number = number;
  return true;
}

std::optional<WebLogin> findWebLogin(const std::string& path, const std::string& id) {
  std::string content;
  if (!isSessionId(id) || readFile(path, kLongestSessionFile, &content)) return std::nullopt;
  const std::string key = '"' + id + "\":";
  for (const std::string_view line : linesOf(content)) {
    if (!line.starts_with(key)) continue;
    const JsonObject record = parseSessionRecord(line);
    if (!record || !AccessTimes(path).isCurrent(id.c_str())) return std::nullopt;
    return loginOf(record.get());
  }
  return std::nullopt;
}

void touchWebLogin(const std::string& path, const std::string& id) {
  if (isSessionId(id)) AccessTimes(path).touch(id.c_str());
}

bool removeWebLogin(const std::string& path, const std::string& id) {
  return removeLogins(path, [&id](json_object* record) { return sessionIdOf(record) == id; });
}

}  // namespace zevo
