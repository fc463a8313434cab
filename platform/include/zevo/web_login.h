// Logins in the session file, for the host that writes them. All functions take the path of the
// session file and need its owner's rights; those that write enter its critical section.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <sys/types.h>

#include "zevo/export.h"

namespace zevo {

struct WebLogin {
  std::string id;       // tokenHash of the client's token (zevo/login_token.h)
  std::string user;     // login name as modules see it: "admin" for uid 0
  uid_t uid = 0;        // of that account when it logged in
  std::string address;  // of the client, numeric
  std::string browser;  // short name; shortened further until the record's line fits
  std::time_t started = 0;
  int number = 0;  // the login's own, 1 or more: what lists show as its pid

  bool operator==(const WebLogin&) const = default;
};

// Writes a login that begins now: gives it the lowest number that no other has, and its access
// time. Logins that have been idle for longer than the configuration's limit go at the same time,
// and so do access times that belong to none. Returns false with the last error set, and the file
// unchanged, on failure.
ZEVO_EXPORT bool addWebLogin(const std::string& path, WebLogin* login);

// The current login of this id: it stands in the file, and its access time is younger than the idle
// limit. None otherwise, a file that cannot be read included. Takes no lock.
ZEVO_EXPORT std::optional<WebLogin> findWebLogin(const std::string& path, const std::string& id);

// Makes now the access time of a login that is there; one that was removed meanwhile stays away.
ZEVO_EXPORT void touchWebLogin(const std::string& path, const std::string& id);

// Ends a login. True also where there was none; false with the last error set on failure.
ZEVO_EXPORT bool removeWebLogin(const std::string& path, const std::string& id);

// Short name of the browser for a User-Agent header: "Firefox", "Chrome", "curl", …; the first
// word, made printable, where it is none that is known.
ZEVO_EXPORT std::string browserName(const std::string& userAgent);

}  // namespace zevo
