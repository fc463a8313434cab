// Logins in the session file, for the host. All functions take the path of the session file and
// need its owner's rights; those that write enter its critical section.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <sys/types.h>

#include "zevo/export.h"

namespace zevo {

struct WebLogin {
  std::string id;            // tokenHash of the client's token (host/login_token.h)
  std::string user;          // login name as modules see it: "admin" for uid 0
  uid_t uid = 0;             // of that account when it logged in
  std::string address;       // of the client, numeric
  std::string browser = {};  // short name; shortened until the record's line fits
  std::time_t started = 0;
  std::string passwordMark = {};  // of the account when it logged in
  // When it ends; only for a view login, which lists, changes nothing and has no idle timeout.
  std::optional<std::time_t> viewUntil = std::nullopt;
  int number = 0;  // of the login, 1 or more: its pid in lists

  bool operator==(const WebLogin&) const = default;
};

// The limit for logins of one account, not counting view logins: without a limit an account could
// make the file so long that no call, and no disabling, would complete.
inline constexpr int kMostLogins = 64;

// Writes a login that begins now, with the lowest free number and its access time. Also removes
// logins that have ended by the configured limits or on their date, access times without a login,
// and the least recently used logins of an account that has too many. Returns false, with the last
// error set and the file unchanged, on failure, including an unreadable access time.
ZEVO_EXPORT bool addWebLogin(const std::string& path, WebLogin* login);

enum class LoginSearch { kFound, kNone, kFailed };

// Stores the login with this id in *login if it is in the file and has not ended. Failed, with the
// last error set, if the file or its access time cannot be read: then nothing is known. A missing
// file has no logins. Takes no lock.
ZEVO_EXPORT LoginSearch findWebLogin(const std::string& path, const std::string& id,
                                     WebLogin* login);

// Sets the access time of an existing login to now; one that was removed in the meantime is not
// created again.
ZEVO_EXPORT void touchWebLogin(const std::string& path, const std::string& id);

// Ends a login. True also if there was none; false, with the last error set, on failure.
ZEVO_EXPORT bool removeWebLogin(const std::string& path, const std::string& id);

// The key for the password marks of the logins in the file, 43 characters. It is stored beside the
// file, so that logins survive a restart of the host, and created if there is none that only its
// owner could have read. None, with the last error set, if it can be neither read nor created.
ZEVO_EXPORT std::optional<std::string> loginKey(const std::string& path);

// The mark of the account `name` with this password field (host/login_state.h); it differs after
// each change of either.
ZEVO_EXPORT std::string passwordMark(const std::string& key, const std::string& name,
                                     const std::string& passwordField);

// Short name of the browser for a User-Agent header: "Firefox", "Chrome", "curl", …; the first
// word, made printable, if it is not known.
ZEVO_EXPORT std::string browserName(const std::string& userAgent);

}  // namespace zevo
