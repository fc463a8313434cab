// Records logins to the page.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <sys/types.h>

namespace zevo {

// A login to record; all texts come from outside.
struct Login {
  std::string id;       // base64url, at most 128 characters
  std::string client;   // numeric address
  std::string user;     // login name
  std::string browser;  // the browser's name, shortened until the line fits
  std::time_t start = 0;
  bool isHidden = false;
  // The user id of the account, by which a host notices that the name was given to another account.
  std::optional<uid_t> uid = std::nullopt;
  std::string passwordMark = {};  // keyed hash of the account's password field, base64url
  std::optional<std::time_t> viewUntil = std::nullopt;  // of a view login: when it ends
};

// Appends the login to the session file at `path`, which is created if it does not exist, and sets
// its access time to now. Enters the critical section, waiting `milliseconds` at most. Returns the
// number of the login, above 0; -1 with the last error set, and the file unchanged, if the id is in
// use or not base64url, another text is not UTF-8 or too long, or the file cannot be written.
int appendLogin(const std::string& path, const Login& login, int milliseconds);

// Sets the access time of the login `id` to now. False with the last error set on failure, also for
// an id that is not base64url.
bool touchAccessTime(const std::string& path, const std::string& id);

}  // namespace zevo
