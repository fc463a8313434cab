#include "host/web_login.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <dirent.h>
#include <functional>
#include <set>
#include <string_view>
#include <unistd.h>
#include <utility>
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

using Judgement = std::function<Currency(json_object* record)>;

std::optional<WebLogin> loginOf(json_object* record) {
  const char* client = sessionText(record, kClientField);
  const char* user = sessionText(record, kUserField);
  const std::int64_t number = sessionNumber(record, kNumberField, 0);
  const std::int64_t uid = sessionNumber(record, kUidField, -1);
  const std::int64_t start = sessionNumber(record, kStartField, -1);
  if (client == nullptr || user == nullptr || number <= 0 || number > INT_MAX || uid < 0 ||
      uid > UINT_MAX || start < 0) {
    return std::nullopt;
  }
  // Anything that is not clearly a login with all rights is not one.
  const std::int64_t end = sessionNumber(record, kEndField, -1);
  const bool isView = sessionField(record, kEndField) != nullptr;
  if (isView && end < 0) return std::nullopt;
  const char* browser = sessionText(record, kBrowserField);
  const char* mark = sessionText(record, kMarkField);
  return WebLogin{.id = sessionIdOf(record),
                  .user = user,
                  .uid = static_cast<uid_t>(uid),
                  .address = client,
                  .browser = browser != nullptr ? browser : "",
                  .started = static_cast<std::time_t>(start),
                  .passwordMark = mark != nullptr ? mark : "",
                  .viewUntil = isView ? std::optional<std::time_t>(end) : std::nullopt,
                  .number = static_cast<int>(number)};
}

// The logins of the user that end so that a new one can begin: the least recently used.
std::set<std::string> loginsToEnd(std::string_view content, const std::string& user,
                                  const AccessTimes& times) {
  std::vector<std::pair<std::int64_t, std::string>> logins;  // by last use
  for (const std::string_view line : wholeLinesOf(content)) {
    const JsonObject record = parseSessionRecord(line);
    const auto login = record ? loginOf(record.get()) : std::nullopt;
    if (!login || login->user != user || login->viewUntil) continue;
    logins.emplace_back(times.lastUse(login->id.c_str()), login->id);
  }
  std::set<std::string> ids;
  if (logins.size() < kMostLogins) return ids;
  std::sort(logins.begin(), logins.end());
  logins.resize(logins.size() - kMostLogins + 1);
  for (auto& [use, id] : logins) ids.insert(std::move(id));
  return ids;
}

// A crash between the two writes leaves access times without a login.
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

LoginSearch searchResultOf(Currency currency) {
  if (currency == Currency::kUnknown) return LoginSearch::kFailed;
  return currency == Currency::kCurrent ? LoginSearch::kFound : LoginSearch::kNone;
}

// Removes the logins that have ended according to `judge`, and their access times; none if the
// state of one is unknown. Lines that are not records are kept.
bool removeLogins(const std::string& path, const Judgement& judge) {
  const CriticalSection section(path, kLockMilliseconds);
  if (!section) return false;
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content))
    return failAtFile(*failure);
  std::vector<std::string_view> kept;
  std::set<std::string, std::less<>> ids;
  bool isChanged = false;
  for (const std::string_view line : wholeLinesOf(content)) {
    const JsonObject record = parseSessionRecord(line);
    const Currency currency = record ? judge(record.get()) : Currency::kCurrent;
    if (currency == Currency::kUnknown) return false;
    if (currency == Currency::kEnded) {
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
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content))
    return failAtFile(*failure);
  const AccessTimes times(path);
  // Several concurrent logins may find the same ones; the next login ends the rest.
  const std::set<std::string> ending =
      login->viewUntil ? std::set<std::string>() : loginsToEnd(content, login->user, times);
  const bool isSwept = removeLogins(path, [&](json_object* record) {
    return ending.contains(sessionIdOf(record)) ? Currency::kEnded : times.currencyOf(record);
  });
  if (!isSwept) return false;
  const int number = appendLogin(path,
                                 {.id = login->id,
                                  .client = login->address,
                                  .user = login->user,
                                  .browser = login->browser,
                                  .start = login->started,
                                  .uid = login->uid,
                                  .passwordMark = login->passwordMark,
                                  .viewUntil = login->viewUntil},
                                 kLockMilliseconds);
  if (number <= 0) return false;
  login->number = number;
  return true;
}

LoginSearch findWebLogin(const std::string& path, const std::string& id, WebLogin* login) {
  if (!isSessionId(id)) return LoginSearch::kNone;
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content)) {
    if (failure->error == ENOENT) return LoginSearch::kNone;
    failAtFile(*failure);
    return LoginSearch::kFailed;
  }
  const std::string key = '"' + id + "\":";
  for (const std::string_view line : wholeLinesOf(content)) {
    if (!line.starts_with(key)) continue;
    const JsonObject record = parseSessionRecord(line);
    const auto found = record ? loginOf(record.get()) : std::nullopt;
    if (!found) return LoginSearch::kNone;
    *login = *found;
    return searchResultOf(AccessTimes(path).currencyOf(record.get()));
  }
  return LoginSearch::kNone;
}

void touchWebLogin(const std::string& path, const std::string& id) {
  if (isSessionId(id)) AccessTimes(path).touch(id.c_str());
}

bool removeWebLogin(const std::string& path, const std::string& id) {
  return removeLogins(path, [&id](json_object* record) {
    return sessionIdOf(record) == id ? Currency::kEnded : Currency::kCurrent;
  });
}

}  // namespace zevo
