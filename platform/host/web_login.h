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
  std::string id;            // tokenHash of the client's token (host/login_token.h)
  std::string user;          // login name as modules see it: "admin" for uid 0
  uid_t uid = 0;             // of that account when it logged in
  std::string address;       // of the client, numeric
  std::string browser = {};  // short name; shortened further until the record's line fits
  std::time_t started = 0;
  std::string passwordMark = {};  // of the account when it logged in
  // When it ends. Only a view login has it: it lists and changes nothing, and does not idle out.
  std::optional<std::time_t> viewUntil = std::nullopt;
  int number = 0;  // the login's own, 1 or more: what lists show as its pid

  bool operator==(const WebLogin&) const = default;
};

// So many logins that are no view logins may one account have: with logins without end it would
// make the file so long that nobody's calls, and no disabling, would come to their end.
inline constexpr int kMostLogins = 64;

// Writes a login that begins now: gives it the lowest number that no other has, and its access
// time. Logins that have ended by the configuration's limits or on their date go at the same time,
// and so do access times that belong to none, and of an account with too many logins those that
// were not used for the longest time. Returns false with the last error set, and the file
// unchanged, on failure; that an access time cannot be read is one.
ZEVO_EXPORT bool addWebLogin(const std::string& path, WebLogin* login);

enum class LoginSearch { kFound, kNone, kFailed };

// Stores the login of this id in *login where it stands in the file and has not ended. Failed, with
// the last error set, where the file or its access time cannot be read: then nothing is known; a
// file that is not there holds no login. Takes no lock.
ZEVO_EXPORT LoginSearch findWebLogin(const std::string& path, const std::string& id,
                                     WebLogin* login);

// Makes now the access time of a login that is there; one that was removed meanwhile stays away.
ZEVO_EXPORT void touchWebLogin(const std::string& path, const std::string& id);

// Ends a login. True also where there was none; false with the last error set on failure.
ZEVO_EXPORT bool removeWebLogin(const std::string& path, const std::string& id);

// The key for the password marks of the logins in the file, 43 characters: kept beside it for as
// long, so that logins outlive a restart of the host, and made where there is none that only its
// owner could have read. None with the last error set where it can be neither read nor made.
ZEVO_EXPORT std::optional<std::string> loginKey(const std::string& path);

// The mark of the account `name` whose password field this is (host/login_state.h): another one
// after each change of either.
ZEVO_EXPORT std::string passwordMark(const std::string& key, const std::string& name,
                                     const std::string& passwordField);

// Short name of the browser for a User-Agent header: "Firefox", "Chrome", "curl", …; the first
// word, made printable, where it is none that is known.
ZEVO_EXPORT std::string browserName(const std::string& userAgent);

}  // namespace zevo
