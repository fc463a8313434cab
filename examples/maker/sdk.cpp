// libzevosdk of the skeleton: connections, accounts and small helpers.
#include <cstdio>
#include <fstream>
#include <iomanip>

#include "zevo/account.h"
#include "zevo/keyed_file.h"
#include "zevo/local_account.h"
#include "zevo/string_list.h"
#include "zevo/unicode.h"

#include "skeleton.h"

struct VLIBCMResult {};
struct VLIBUserShadow {
  long day = 0;
};

namespace {

thread_local int lastError = ZEVO_ERR_NONE;

struct Account {
  const char* name;
  uid_t uid;
};
// Connections of accounts with ids from 100000 to 299999 are never shown.
constexpr Account kAccounts[] = {{"admin", 0}, {"alice", 1000}, {"bob", 1001}, {"guest", 100000}};

}  // namespace

extern "C" {

void VLIBCErrSetEx(int code, const char*, int) { lastError = code; }
int VLIBCErrGet(void) { return lastError; }

// A line of the file: PID TYPE USER FROM TIME DESCR, with quotes where a text is empty or has
// blanks. Records with one pid become one row, so each connection has the pid of the process that
// serves it. 0 is for NFS, where no process does.
int ZEVOCurConnGet(_tag_ZEVO_CURCONN_** records) {
  *records = nullptr;
  return guarded([&] {
    std::ifstream file(stateFile("connections"));
    if (!file) return fail(ZEVO_ERR_FILE_OPEN);
    std::vector<Connection> connections;
    for (Connection c; file >> c.pid >> c.type >> std::quoted(c.user) >> std::quoted(c.from) >>
                       std::quoted(c.time) >> std::quoted(c.descr);)
      connections.push_back(c);
    return handOut(connections, records);
  });
}

int ZEVOUserGet(const char* name, UserRecord** user) {
  *user = nullptr;
  for (const Account& account : kAccounts) {
    if (std::strcmp(account.name, name) != 0) continue;
    *user = new (std::nothrow) UserRecord{account.uid, account.uid, account.name, "/", "/bin/sh"};
    return *user != nullptr ? 0 : fail(ZEVO_ERR_OUT_OF_MEMORY);
  }
  return fail(ZEVO_ERR_NO_SUCH_USER);
}
void ZEVOUserFree(UserRecord* user) { delete user; }

VLIBCMResult* VLIBCMResultAlloc(void) { return new (std::nothrow) VLIBCMResult; }
void VLIBCMResultFree(VLIBCMResult* result) { delete result; }

int VLIBUserShadowAlloc(VLIBUserShadow** shadow, int) {
  *shadow = new (std::nothrow) VLIBUserShadow;
  return *shadow != nullptr ? 0 : fail(ZEVO_ERR_OUT_OF_MEMORY);
}
void VLIBUserShadowFree(VLIBUserShadow* shadow) { delete shadow; }
int VLIBUserShadowExpiryDaySet(VLIBUserShadow* shadow, long days) {
  shadow->day = days;
  return 0;
}

// All or none. "admin" is the only administrator here, who has to stay.
int ZEVOLocalAccountUserSet(char** names, UserRecord**, VLIBUserShadow** shadows, int count,
                            VLIBCMResult**) {
  return guarded([&] {
    std::string lines;
    for (int i = 0; i < count; ++i) {
      if (std::strcmp(names[i], "admin") == 0) return fail(ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
      lines += std::string(names[i]) + ' ' + std::to_string(shadows[i]->day) + '\n';
    }
    std::ofstream file(stateFile("expired"), std::ios::app);
    return file << lines << std::flush ? 0 : fail(ZEVO_ERR_FILE_OPEN);
  });
}

VLIBCSzList* VLIBCSzListAlloc(int) {
  return static_cast<VLIBCSzList*>(std::calloc(1, sizeof(VLIBCSzList)));
}
int VLIBCSzListPush(VLIBCSzList** list, const char* text) {
  const auto count = static_cast<std::size_t>((*list)->nItem);
  void* items = std::realloc((*list)->pszItem, (count + 1) * sizeof(char*));
  if (items == nullptr) return fail(ZEVO_ERR_OUT_OF_MEMORY);
  (*list)->pszItem = static_cast<char**>(items);
  (*list)->pszItem[count] = strdup(text);
  if ((*list)->pszItem[count] == nullptr) return fail(ZEVO_ERR_OUT_OF_MEMORY);
  return (*list)->nItem++;
}
void VLIBCSzListFree(VLIBCSzList* list) {
  if (list == nullptr) return;
  while (list->nItem > 0) std::free(list->pszItem[--list->nItem]);
  std::free(list->pszItem);
  std::free(list);
}

int VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int) {
  return guarded([&] {
    std::ifstream file(path);
    if (!file) return fail(ZEVO_ERR_FILE_OPEN);
    std::string line;
    while (std::getline(file, line) && line.rfind(key, 0) != 0) line.clear();
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", line.c_str());
    return static_cast<int>(std::strlen(buffer));
  });
}

// Deletes a line. A reader or a crash sees the old file or the new one.
int VLIBCFileSetLine(const char* path, const char* key, const char*, int) {
  return guarded([&] {
    std::ifstream file(path);
    const std::string fresh = std::string(path) + ".new";
    std::ofstream out(fresh);
    int deleted = 0;
    for (std::string line; std::getline(file, line);) {
      if (deleted == 0 && line.rfind(key, 0) == 0) {
        deleted = 1;
      } else {
        out << line << '\n';
      }
    }
    const bool written = file.eof() && out << std::flush;
    return written && std::rename(fresh.c_str(), path) == 0 ? deleted : fail(ZEVO_ERR_FILE_OPEN);
  });
}

// ASCII alone; a real platform upper-cases all of Unicode.
int VLIBCUnicodeUTF8StrUpper(const char* source, char* destination, int size) {
  const std::size_t length = std::strlen(source);
  if (length >= static_cast<std::size_t>(size)) return fail(ZEVO_ERR_BAD_TEXT);
  for (std::size_t i = 0; i <= length; ++i) {
    const char c = source[i];
    destination[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return static_cast<int>(length);
}

}  // extern "C"
