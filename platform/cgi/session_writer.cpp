#include "cgi/session_writer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <set>
#include <string_view>
#include <sys/stat.h>

#include <climits>

#include "zevo/error_trail.h"
#include "zevo/session_file.h"

#include "base/atomic_file.h"
#include "base/file_descriptor.h"
#include "base/read_file.h"
#include "base/text.h"
#include "cgi/critical_section.h"
#include "cgi/failure.h"
#include "cgi/session_lines.h"
#include "cgi/session_record.h"

namespace zevo {
namespace {

constexpr const char* kBadId = "a login's id must be base64url";

void add(json_object* fields, int field, json_object* value) {
  json_object_object_add(fields, std::to_string(field).c_str(), value);
}

void addText(json_object* fields, int field, std::string_view text) {
  add(fields, field, json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

std::string makeLine(const Login& login, int number, std::string_view browser) {
  const JsonObject fields = owned(json_object_new_object());
  addText(fields.get(), kClientField, login.client);
  addText(fields.get(), kUserField, login.user);
  add(fields.get(), kNumberField, json_object_new_int(number));
  add(fields.get(), kStartField, json_object_new_int64(login.start));
  if (!browser.empty()) addText(fields.get(), kBrowserField, browser);
  if (login.uid) add(fields.get(), kUidField, json_object_new_int64(*login.uid));
  if (!login.passwordMark.empty()) addText(fields.get(), kMarkField, login.passwordMark);
  if (login.viewUntil) add(fields.get(), kEndField, json_object_new_int64(*login.viewUntil));
  if (login.isHidden) {
    json_object* flags = json_object_new_object();
    json_object_object_add(flags, "hide", json_object_new_boolean(1));
    add(fields.get(), kFlagsField, flags);
  }
  constexpr int kCompact = JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE;
  const std::string text = json_object_to_json_string_ext(fields.get(), kCompact);
  return '"' + login.id + "\":" + text + '\n';
}

// The line with as much of the browser's name as fits; empty if it does not fit even without it.
std::string makeFittingLine(const Login& login, int number) {
  std::string browser = printable(login.browser, kLongestSessionLine);
  for (;;) {
    std::string line = makeLine(login, number, browser);
    if (line.size() <= kLongestSessionLine) return line;
    if (browser.empty()) return {};
    browser = printable(browser, browser.size() - 1);
  }
}

bool isText(const std::string& text) {
  return validUtf8(text) && text.find('\0') == std::string::npos;
}

// A number that no login in the file has; the next one, if there is one.
int freeNumber(const std::set<std::int64_t>& taken) {
  const std::int64_t highest = taken.empty() ? 0 : *taken.rbegin();
  if (highest < INT_MAX) return static_cast<int>(highest) + 1;
  int number = 1;
  while (taken.contains(number)) ++number;
  return number;
}

int appendLocked(const std::string& path, const Login& login) {
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content)) {
    return fail(ZEVO_ERR_FILE_OPEN, failure->text());
  }
  std::set<std::int64_t> numbers;
  for (const std::string_view line : wholeLinesOf(content)) {
    // A line that is not a record is kept for the administrator.
    const JsonObject record = parseSessionRecord(line);
    if (!record) continue;
    if (sessionIdOf(record.get()) == login.id) {
      return fail(ZEVO_ERR_BAD_TEXT, "the session file already has a login with this id");
    }
    const std::int64_t number = sessionNumber(record.get(), kNumberField, 0);
    if (number > 0 && number <= INT_MAX) numbers.insert(number);
  }
  const int number = freeNumber(numbers);
  const std::string line = makeFittingLine(login, number);
  if (line.empty())
    return fail(ZEVO_ERR_BAD_TEXT, "the texts of the login are too long to be recorded");
  if (!touchAccessTime(path, login.id)) return -1;
  const bool isEnded = content.empty() || content.ends_with('\n');
  const std::array<std::string_view, 3> pieces = {content, isEnded ? "" : "\n", line};
  if (const auto failure = replaceFile(path, pieces, {.removeLeftovers = true})) {
    return fail(ZEVO_ERR_SYSTEM, failure->text());
  }
  return number;
}

}  // namespace

int appendLogin(const std::string& path, const Login& login, int milliseconds) {
  if (!isSessionId(login.id)) return fail(ZEVO_ERR_BAD_TEXT, kBadId);
  if (!isText(login.client) || !isText(login.user)) {
    return fail(ZEVO_ERR_BAD_TEXT, "a login's user and address must be UTF-8");
  }
  if (ZEVOCgiSessionFileCreate(path.c_str()) != 0) return -1;
  const CriticalSection section(path, milliseconds);
  return section ? appendLocked(path, login) : -1;
}

bool touchAccessTime(const std::string& path, const std::string& id) {
  if (!isSessionId(id)) {
    ZEVO_NOTE_ERROR(ZEVO_ERR_BAD_TEXT, kBadId);
    return false;
  }
  const std::string folderPath = accessTimeFolderOf(path);
  const FileDescriptor folder = openFile(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  FileDescriptor file;
  if (folder) {
    file = openFileAt(folder.get(), id.c_str(),
                      O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600);
  }
  if (file && ::futimens(file.get(), nullptr) == 0) return true;
  const FileFailure failure = {"write", folderPath + "/" + id, errno};
  ZEVO_NOTE_ERROR(ZEVO_ERR_FILE_OPEN, failure.text());
  return false;
}

}  // namespace zevo
