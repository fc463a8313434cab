#include "zevo/account.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "zevo/error_trail.h"

#include "base/account_name.h"
#include "base/file_failure.h"
#include "base/name_service.h"
#include "base/text.h"
#include "sdk/account_lookup.h"

namespace zevo {
namespace {

using Answer = NameServiceAnswer<passwd>;

// One block: the record, then its three texts.
UserRecord* makeRecord(const passwd& entry) {
  const auto text = [](const char* value) { return value != nullptr ? value : ""; };
  const std::size_t name = std::strlen(text(entry.pw_name)) + 1;
  const std::size_t home = std::strlen(text(entry.pw_dir)) + 1;
  const std::size_t shell = std::strlen(text(entry.pw_shell)) + 1;
  void* block = std::malloc(sizeof(UserRecord) + name + home + shell);
  if (block == nullptr) return nullptr;
  char* texts = static_cast<char*>(block) + sizeof(UserRecord);
  std::memcpy(texts, text(entry.pw_name), name);
  std::memcpy(texts + name, text(entry.pw_dir), home);
  std::memcpy(texts + name + home, text(entry.pw_shell), shell);
  auto* record = static_cast<UserRecord*>(block);
  *record = {entry.pw_uid, entry.pw_gid, texts, texts + name, texts + name + home};
  return record;
}

int fail(int code, const std::string& name, const std::string& why) {
  ZEVO_NOTE_ERROR(code, "cannot look up the account \"" + printable(name, 256) + "\": " + why);
  return -1;
}

}  // namespace

const NameService& NameService::system() {
  static const NameService service = {&::getpwnam_r, &::getpwuid_r};
  return service;
}

int lookUpAccount(const NameService& service, const char* name, UserRecord** user) {
  *user = nullptr;
  if (name == nullptr || *name == '\0') return fail(ZEVO_ERR_NO_SUCH_USER, "", "it has no name");
  if (!canBeAccountName(name)) {
    return fail(ZEVO_ERR_NO_SUCH_USER, name, "there is no such account, the name is too long");
  }
  Answer answer =
      askNameService<passwd>([&](passwd* entry, char* buffer, std::size_t size, passwd** found) {
        return service.byName(name, entry, buffer, size, found);
      });
  if (!answer.found && answer.error == 0 && std::strcmp(name, kRootAlias) == 0) {
    answer =
        askNameService<passwd>([&](passwd* entry, char* buffer, std::size_t size, passwd** found) {
          return service.byId(0, entry, buffer, size, found);
        });
  }
  if (answer.error != 0) return fail(ZEVO_ERR_SYSTEM, name, errorText(answer.error));
  if (!answer.found) return fail(ZEVO_ERR_NO_SUCH_USER, name, "there is no such account");
  *user = makeRecord(answer.entry);
  if (*user == nullptr) return fail(ZEVO_ERR_OUT_OF_MEMORY, name, errorText(ENOMEM));
  return 0;
}

}  // namespace zevo

extern "C" {

int ZEVOUserGet(const char* name, UserRecord** user) {
  return zevo::lookUpAccount(zevo::NameService::system(), name, user);
}

void ZEVOUserFree(UserRecord* user) {
  std::free(user);
}

}  // extern "C"
