#include "zevo/keyed_file.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "zevo/error_trail.h"

#include "base/file_descriptor.h"
#include "base/read_file.h"
#include "sdk/keyed_line.h"

namespace zevo {
namespace {

constexpr std::size_t kLongestKeyedFile = 64UL * 1024 * 1024;

int fail(int code, const std::string& cause) {
  ZEVO_NOTE_ERROR(code, cause);
  return -1;
}

int fail(const FileFailure& failure) {
  return fail(ZEVO_ERR_FILE_OPEN, failure.text());
}

// Reads a file that will be replaced: a link would become a separate file.
std::optional<FileFailure> readOwnFile(const std::string& path, std::string* content) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (!file) return FileFailure{"open", path, errno};
  return readDescriptor(file.get(), path, kLongestKeyedFile, content);
}

bool isText(const char* text) {
  return text != nullptr && *text != '\0';
}

int getLine(const std::string& path, std::string_view key, char* buffer, int size) {
  std::string content;
  if (const auto failure = readFile(path, kLongestKeyedFile, &content)) return fail(*failure);
  std::string_view line = lineWithKey(content, key);
  line = line.substr(0, line.find_first_of(std::string_view("\n\0", 2)));
  if (line.ends_with('\r')) line.remove_suffix(1);
  const std::size_t length = std::min(line.size(), static_cast<std::size_t>(size) - 1);
  buffer[line.copy(buffer, length)] = '\0';
  return static_cast<int>(length);
}

}  // namespace

std::string_view lineWithKey(std::string_view content, std::string_view key) {
  std::size_t start = 0;
  while (start < content.size()) {
    const std::size_t feed = content.find('\n', start);
    const std::size_t end = feed == std::string_view::npos ? content.size() : feed + 1;
    const std::string_view line = content.substr(start, end - start);
    if (line.starts_with(key)) return line;
    start = end;
  }
  return {};
}

int deleteLine(const std::string& path, std::string_view key, FileOperations& operations) {
  std::string text;
  if (const auto failure = readOwnFile(path, &text)) return fail(*failure);
  const std::string_view content = text;
  const std::string_view line = lineWithKey(content, key);
  if (line.empty()) return 0;
  const auto start = static_cast<std::size_t>(line.data() - content.data());
  const std::array<std::string_view, 2> rest = {content.substr(0, start),
                                                content.substr(start + line.size())};
  if (const auto failure =
          replaceFile(path, rest, {.keepsIdentity = true, .removeLeftovers = true}, operations)) {
    return fail(ZEVO_ERR_SYSTEM, failure->text());
  }
  return 1;
}

}  // namespace zevo

extern "C" {

int VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int flags) {
  if (!zevo::isText(path) || !zevo::isText(key) || buffer == nullptr || size < 2 || flags != 2) {
    return zevo::fail(ZEVO_ERR_BAD_TEXT, "reading a line needs a path, a key and a buffer");
  }
  return zevo::getLine(path, key, buffer, size);
}

int VLIBCFileSetLine(const char* path, const char* key, const char* value, int flags) {
  if (!zevo::isText(path) || !zevo::isText(key) || value != nullptr || flags != 0) {
    return zevo::fail(ZEVO_ERR_BAD_TEXT, "deleting a line needs a path and a key");
  }
  return zevo::deleteLine(path, key, zevo::FileOperations::system());
}

}  // extern "C"
