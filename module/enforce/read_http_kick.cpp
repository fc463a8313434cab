#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include <json-c/json.h>

#include "api/log.h"
#include "enforce/http_kick_index.h"
#include "enforce/session_file_section.h"

namespace {

enum ReadLine : int {
  kReadEnterLine = 130,
  kSectionLine = 134,
  kOpenLine = 140,
  kFormatLine = 150,
  kReadLeaveLine = 180
};

constexpr int kLineBufferSize = 641;
constexpr int kFieldBufferSize = 4096;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
struct PutObject {
  void operator()(json_object* object) const { json_object_put(object); }
};
using JsonPointer = std::unique_ptr<json_object, PutObject>;

// Only for a regular file; none for anything else. Does not wait for a pipe.
std::unique_ptr<std::FILE, CloseFile> openToRead(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  struct stat status {};
  if (file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    std::unique_ptr<std::FILE, CloseFile> stream(fdopen(file, "r"));
    if (stream) return stream;
  }
  if (file >= 0) close(file);
  return nullptr;
}

void logOpenFailure(const std::string& path) {
  syslog(kLogError, "%s:%d Fail to open file %s", kLogSource, kOpenLine, path.c_str());
}

// One record handle for all lines: each line's Init releases the previous one.
struct RecordHandle {
  json_object* record = nullptr;
  RecordHandle() = default;
  RecordHandle(const RecordHandle&) = delete;
  RecordHandle& operator=(const RecordHandle&) = delete;
  ~RecordHandle() { json_object_put(record); }
};

bool isHidden(json_object* record) {
  char text[kFieldBufferSize];
  if (ZevoCgiJsonRecordGet(record, kZevoCgiFlagsField, text, kFieldBufferSize) != 1) return false;
  errno = 0;
  const JsonPointer flags(json_tokener_parse(text));
  // Flags that were read incompletely must not make a hidden session visible.
  if (errno == ENOMEM) throw std::bad_alloc();
  json_object* hide = nullptr;
  return flags && json_object_object_get_ex(flags.get(), "hide", &hide) &&
         json_object_get_boolean(hide);
}

// False if the line is not a record.
bool readLine(const char* line, RecordHandle& handle, const HttpKickIndex& requests) {
  const char* client = nullptr;
  const char* user = nullptr;
  const char* id = nullptr;
  if (ZevoCgiJsonRecordInit(&handle.record, line) == 0) return false;
  if (ZevoCgiJsonRecordParse(handle.record, &client, &user, &id, 0, 0) == 0) return false;
  if (isHidden(handle.record)) return true;
  // Only one request: a second one for the same session would delete its line twice.
  if (HttpKickSession* request = requests.find(user, client)) request->ids.emplace_back(id);
  return true;
}

}  // namespace

bool ReadHttpKickSessions(ZEVO::APIRequest* request, std::list<HttpKickSession>& requests) {
  const std::string path = request->GetSessionFilePath();
  // Created before taking the lock, since others wait for it.
  const HttpKickIndex index(requests);
  const SessionFileSection section(kReadEnterLine, kReadLeaveLine);
  if (!section.entered()) {
    syslog(kLogError, "%s:%d Fail at ZevoCgiBeginCriticalSection", kLogSource, kSectionLine);
    return false;
  }
  RecordHandle handle;
  const std::unique_ptr<std::FILE, CloseFile> file = openToRead(path);
  if (!file) {
    logOpenFailure(path);
    return false;
  }
  char line[kLineBufferSize];
  while (std::fgets(line, kLineBufferSize, file.get()) != nullptr) {
    if (!readLine(line, handle, index)) {
      syslog(kLogError, "%s:%d Session File %s format error", kLogSource, kFormatLine,
             path.c_str());
      return false;
    }
  }
  if (std::ferror(file.get()) == 0) return true;
  logOpenFailure(path);
  return false;
}
