#include "platform/services/accounts.h"

#include <cerrno>
#include <cstdio>
#include <map>
#include <pwd.h>
#include <string_view>

namespace {

using namespace zevo::connections::test;

const std::map<uid_t, const char*>& names() {
  static const std::map<uid_t, const char*> names = {
      {0, "root"},         {kFtp, "ftp"},       {kAlice, "alice"},      {kBob, "bob"},
      {kSshdUser, "sshd"}, {kNobody, "nobody"}, {kLongAccount, "long"}, {kWordy, kWordyName.data()},
  };
  return names;
}

std::size_t neededBytes(uid_t uid) {
  if (uid == kEndlessAccount) return static_cast<std::size_t>(-1);
  return uid == kLongAccount ? 100000 : 100;
}

}  // namespace

extern "C" int getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size,
                          passwd** found) {
  *found = nullptr;
  if (uid == kBrokenAccount) return EIO;
  if (size < neededBytes(uid)) return ERANGE;
  const auto name = names().find(uid);
  if (name == names().end()) return 0;
  std::snprintf(buffer, size, "%s", name->second);
  entry->pw_name = buffer;
  entry->pw_uid = uid;
  *found = entry;
  return 0;
}

extern "C" int getpwnam_r(const char* name, passwd* entry, char* buffer, std::size_t size,
                          passwd** found) {
  *found = nullptr;
  if (std::string_view(name) == kBrokenName) return EIO;
  if (name == kOtherNameOfAlice) return ::getpwuid_r(kAlice, entry, buffer, size, found);
  for (const auto& [uid, known] : names()) {
    if (std::string_view(known) == name) return ::getpwuid_r(uid, entry, buffer, size, found);
  }
  return 0;
}
