// Identifies the caller. Fails closed: a caller who is not positively identified is nobody.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <sys/types.h>
#include <variant>

#include "calls/accounts.h"
#include "calls/http_request.h"
#include "calls/problem.h"
#include "host/web_login.h"

namespace calls {

// The socket through which a call came.
enum class SocketKind { kWeb, kLocal };

struct Caller {
  std::string user;  // login name; never empty
  bool isAdmin = false;
  SocketKind via = SocketKind::kWeb;
  std::string address;  // of the login, as in the list; empty over local.sock
  std::string loginId;  // of the session file; empty over the local socket
  // When a view login ends; not set for any other. A view login only lists.
  std::optional<std::time_t> viewUntil = std::nullopt;
  std::string sudoUser = {};  // who became root for a local call
  std::string terminal = {};  // at which
  pid_t process = 0;          // of the local caller; 0: unknown

  bool operator==(const Caller&) const = default;
};

// The logins of the session file.
class Logins {
 public:
  Logins() = default;
  virtual ~Logins() = default;
  Logins(const Logins&) = delete;
  Logins& operator=(const Logins&) = delete;

  // Like zevo::findWebLogin.
  virtual zevo::LoginSearch find(const std::string& id, zevo::WebLogin* login) = 0;
  virtual void touch(const std::string& id) = 0;
};

using Identity = std::variant<Caller, Problem>;

// web.sock: the cookie's login, if it is current and its account is the same, may log in and has an
// unchanged password. The peer of the socket gives no rights. Any call except an automatic refresh
// keeps the login current. If the logins cannot be read, the call fails, but no login ends.
Identity whoAsksOverWeb(const HttpRequest& request, Accounts& accounts, Logins& logins);

// local.sock: the account of the calling process, `peer`. Only uid 0 is an administrator here. A
// call with a client address or a cookie comes from a web server configured with the wrong socket
// and is refused. root may name the user who became root, and may call as another user, who is not
// looked up: without connections, the list is empty.
Identity whoAsksLocally(const HttpRequest& request, uid_t peer, Accounts& accounts);

}  // namespace calls
