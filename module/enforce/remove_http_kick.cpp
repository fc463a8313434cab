#include <cstdio>
#include <unistd.h>

#include <json/writer.h>

#include "zevo/keyed_file.h"

#include "api/log.h"
#include "enforce/http_kick.h"
#include "enforce/session_file_section.h"

namespace {

enum RemoveLine : int { kRemoveEnterLine = 200, kWriteLine = 220, kRemoveLeaveLine = 240 };

constexpr int kPathBufferSize = 4096;

// The session id as a JSON string, the key of its line.
std::string keyOf(const std::string& id) {
  std::string key = Json::FastWriter().write(Json::Value(id));
  key.pop_back();
  return key;
}

void unlinkAccessTime(const std::string& sessionFile, const std::string& key) {
  const std::string id = key.substr(1, key.size() - 2);
  char path[kPathBufferSize];
  const int length =
      std::snprintf(path, sizeof path, "%s%s/%s", sessionFile.c_str(), ".access.time", id.c_str());
  // A truncated path would name another file.
  if (length > 0 && length < kPathBufferSize) unlink(path);
}

}  // namespace

bool RemoveHttpKickSessions(ZEVO::APIRequest* request, const std::list<HttpKickSession>& requests) {
  const std::string path = request->GetSessionFilePath();
  const SessionFileSection section(kRemoveEnterLine, kRemoveLeaveLine);
  if (!section.entered()) return false;
  bool removed = true;
  for (const HttpKickSession& kick : requests) {
    for (const std::string& id : kick.ids) {
      const std::string key = keyOf(id);
      if (VLIBCFileSetLine(path.c_str(), key.c_str(), nullptr, 0) == -1) {
        syslog(kLogError, "%s:%d Fail to write file %s", kLogSource, kWriteLine, path.c_str());
        removed = false;
      }
      unlinkAccessTime(path, key);
    }
  }
  return removed;
}
