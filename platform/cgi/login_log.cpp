#include "zevo/login_log.h"

#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <time.h>
#include <vector>

#include <climits>

#include "base/read_file.h"
#include "base/text.h"
#include "cgi/access_times.h"
#include "cgi/failure.h"
#include "cgi/session_lines.h"
#include "cgi/session_record.h"
#include "services/connection.h"

namespace zevo {
namespace {

using connections::Connection;

// Local time as "2026-11-20 21:26:24"; empty for an invalid time.
std::string localTime(std::int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  struct tm parts {};
  std::array<char, 32> text{};
  if (seconds < 0 || ::localtime_r(&time, &parts) == nullptr) return {};
  return {text.data(), ::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

// The connection that a line records; none if the line is not a login record.
std::optional<Connection> connectionOf(json_object* record) {
  const char* client = sessionText(record, kClientField);
  const char* user = sessionText(record, kUserField);
  const std::int64_t number = sessionNumber(record, kNumberField, 0);
  if (client == nullptr || user == nullptr || number <= 0 || number > INT_MAX) return std::nullopt;
  const char* browser = sessionText(record, kBrowserField);
  Connection connection{.pid = static_cast<pid_t>(number),
                        .time = localTime(sessionNumber(record, kStartField, -1)),
                        .from = client,
                        .user = user,
                        .descr = browser != nullptr ? browser : "",
                        .type = ZEVO_CURCONN_HTTP};
  connections::cleanTexts(connection);
  return connection;
}

int failAtLine(const std::string& path, std::size_t line) {
  return fail(ZEVO_ERR_BAD_TEXT, "cannot read " + printable(path, 4096) + ":" +
                                     std::to_string(line) + ": the line is not a login record");
}

int readLogins(const std::string& path, std::vector<Connection>* logins) {
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content)) {
    return fail(ZEVO_ERR_FILE_OPEN, failure->text());
  }
  const AccessTimes accessTimes(path);
  std::size_t number = 0;
  for (const std::string_view line : linesOf(content)) {
    ++number;
    const JsonObject record = parseSessionRecord(line);
    const auto login = connectionOf(record.get());
    if (!login) return failAtLine(path, number);
    if (isHiddenSession(record.get())) continue;
    const Currency currency = accessTimes.currencyOf(record.get());
    if (currency == Currency::kUnknown) return -1;
    if (currency == Currency::kCurrent) logins->push_back(*login);
  }
  return static_cast<int>(logins->size());
}

}  // namespace
}  // namespace zevo

extern "C" int ZEVOCgiLoginUserCurrentLog(const char* sessionFilePath,
                                          _tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  ::tzset();  // localtime_r need not
  std::vector<zevo::connections::Connection> logins;
  const int count = zevo::readLogins(sessionFilePath != nullptr ? sessionFilePath : "", &logins);
  if (count <= 0) return count;
  *records = zevo::connections::pack(logins);
  if (*records != nullptr) return count;
  return zevo::fail(ZEVO_ERR_OUT_OF_MEMORY, zevo::errorText(ENOMEM));
}
