// libzevocgi of the skeleton: logins to the web page. A line of the session file is the login's id
// as a JSON string, which is the key by which the module deletes the line, and an object:
//   "c0ffee" {"client":"10.0.0.5","user":"alice","since":"2026-11-20 21:26:24","number":7}
#include "zevo/cgi.h"

#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <unistd.h>

#include <json-c/json.h>

#include "zevo/login_log.h"
#include "zevo/session_file.h"

#include "skeleton.h"

namespace {

const char* textOf(json_object* record, const char* name) {
  json_object* value = json_object_object_get(record, name);
  return value != nullptr ? json_object_get_string(value) : "";
}

}  // namespace

extern "C" {

void ZevoCgiInit(const char*, ZEVO_CGI* cgi) {
  std::snprintf(cgi->lock, sizeof cgi->lock, "%s", stateFile("sessions.lock").c_str());
}

int ZevoCgiBeginCriticalSection(const char* lock, int milliseconds) {
  const int file = open(lock, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  for (; file >= 0 && flock(file, LOCK_EX | LOCK_NB) != 0; milliseconds -= 10) {
    if (milliseconds <= 0) return close(file), fail(ZEVO_ERR_SYSTEM);
    usleep(10000);
  }
  return file;
}
void ZevoCgiEndCriticalSection(int handle) { close(handle); }

int ZevoCgiJsonRecordInit(json_object** record, const char* line) {
  json_object_put(*record);
  const char* end = *line == '"' ? std::strchr(line + 1, '"') : nullptr;
  *record = end != nullptr ? json_tokener_parse(end + 1) : nullptr;
  if (!json_object_is_type(*record, json_type_object)) return 0;
  const auto length = static_cast<int>(end - line - 1);
  json_object_object_add(*record, "id", json_object_new_string_len(line + 1, length));
  return 1;
}

int ZevoCgiJsonRecordParse(json_object* record, const char** client, const char** user,
                           const char** sessionId, int, int) {
  *client = textOf(record, "client");
  *user = textOf(record, "user");
  *sessionId = textOf(record, "id");
  return **user != '\0' ? 1 : 0;
}

// Field 16 tells which logins are hidden; the skeleton has none.
int ZevoCgiJsonRecordGet(json_object*, int, char*, int) { return 0; }

int ZEVOCgiLoginUserCurrentLog(const char* sessionFilePath, _tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  return guarded([&] {
    std::ifstream file(sessionFilePath);
    std::vector<Connection> logins;
    json_object* record = nullptr;
    for (std::string line; std::getline(file, line);) {
      if (ZevoCgiJsonRecordInit(&record, line.c_str()) == 0) continue;
      logins.push_back({json_object_get_int(json_object_object_get(record, "number")),
                        ZEVO_CURCONN_HTTP, textOf(record, "since"), textOf(record, "client"),
                        textOf(record, "user"), "browser"});
    }
    json_object_put(record);
    return handOut(logins, records);
  });
}

// For the host; the module does not call it.
int ZEVOCgiSessionFileCreate(const char* path) {
  const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  return file >= 0 ? close(file) : fail(ZEVO_ERR_FILE_OPEN);
}

}  // extern "C"
