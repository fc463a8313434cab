// Looking an account up in the name service.
#pragma once

#include <pwd.h>

#include "zevo/account.h"

namespace zevo {

// The reentrant calls of the C library; a test gives its own.
struct NameService {
  int (*byName)(const char* name, passwd* entry, char* buffer, std::size_t size, passwd** found);
  int (*byId)(uid_t uid, passwd* entry, char* buffer, std::size_t size, passwd** found);

  static const NameService& system();
};

// The name under which uid 0 is shown.
inline constexpr const char* kRootAlias = "admin";

// ZEVOUserGet over `service`.
int lookUpAccount(const NameService& service, const char* name, UserRecord** user);

}  // namespace zevo
