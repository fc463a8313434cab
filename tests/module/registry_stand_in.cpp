#include "module/registry_stand_in.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "zevo/account.h"
#include "zevo/connections.h"
#include "zevo/login_log.h"

namespace {

std::vector<module_test::Connected> connected;

std::size_t sizeOfRecords() {
  std::size_t size = 1;
  for (const auto& one : connected) {
    size += sizeof(_tag_ZEVO_CURCONN_) + one.time.size() + one.from.size() + one.user.size() +
            one.descr.size() + 4;
  }
  return size;
}

const char* place(const std::string& text, char** end) {
  return static_cast<const char*>(
      std::memcpy(std::exchange(*end, *end + text.size() + 1), text.c_str(), text.size() + 1));
}

}  // namespace

void module_test::setConnected(std::vector<Connected> connections) {
  connected = std::move(connections);
}

extern "C" {

int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  *records = static_cast<_tag_ZEVO_CURCONN_*>(std::malloc(sizeOfRecords()));
  if (*records == nullptr) return -1;
  char* end = reinterpret_cast<char*>(*records + connected.size());
  int pid = 1000;
  for (std::size_t i = 0; i < connected.size(); ++i) {
    const auto& one = connected[i];
    const char* time = place(one.time, &end);
    const char* from = place(one.from, &end);
    const char* user = place(one.user, &end);
    (*records)[i] = {pid++, time, from, user, place(one.descr, &end), one.type};
  }
  return static_cast<int>(connected.size());
}

int ZEVOCgiLoginUserCurrentLog(const char* /*sessionFilePath*/, _tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  return 0;
}

int ZEVOUserGet(const char* /*name*/, UserRecord** user) {
  *user = static_cast<UserRecord*>(std::malloc(sizeof(UserRecord)));
  if (*user == nullptr) return -1;
  **user = {1000, 1000, "", "", ""};
  return 0;
}

void ZEVOUserFree(UserRecord* user) {
  std::free(user);
}

}  // extern "C"
