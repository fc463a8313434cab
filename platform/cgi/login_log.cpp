#include "zevo/login_log.h"

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include <climits>

#include "base/local_time.h"
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

// Empty for a line without a start.
std::string startOf(json_object* record) {
  const std::int64_t start = sessionNumber(record, kStartField, -1);
  return start < 0 ? std::string() : localTimeText(start);
}

// The connection that a line records; none if the line is not a login record.
std::optional<Connection> connectionOf(json_object* record) {
  const char* client = sessionText(record, kClientField);
  const char* user = sessionText(record, kUserField);
  const std::int64_t number = sessionNumber(record, kNumberField, 0);
  if (client == nullptr || user == nullptr || number <= 0 || number > INT_MAX) return std::nullopt;
  const char* browser = sessionText(record, kBrowserField);
  Connection connection{.pid = static_cast<pid_t>(number),
                        .time = startOf(record),
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
  for (const std::string_view line : wholeLinesOf(content)) {
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
