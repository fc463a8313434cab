// Who is asking. Fails closed: whoever is not positively known is nobody.
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

// The socket that a call came over.
enum class SocketKind { kWeb, kLocal };

struct Caller {
  std::string user;  // login name; never empty
  bool isAdmin = false;
  SocketKind via = SocketKind::kWeb;
  std::string address;  // that the login was made from, as the list shows it; empty over local.sock
  std::string loginId;  // of the session file; empty over the local socket
  // When a view login ends; any other has none. It lists and does nothing else.
  std::optional<std::time_t> viewUntil = std::nullopt;
  std::string sudoUser = {};  // who became root to make a local call
  std::string terminal = {};  // at which
  pid_t process = 0;          // that makes a local call; 0: not known

  bool operator==(const Caller&) const = default;
};

// The logins of the session file.
class Logins {
 public:
  Logins() = default;
  virtual ~Logins() = default;
  Logins(const Logins&) = delete;
  Logins& operator=(const Logins&) = delete;

  // As zevo::findWebLogin.
  virtual zevo::LoginSearch find(const std::string& id, zevo::WebLogin* login) = 0;
  virtual void touch(const std::string& id) = 0;
};

using Identity = std::variant<Caller, Problem>;

// web.sock: the cookie's login, still current, of an account that is still the same one, may log in
// and has the password that it had then; the peer of the socket gives nobody any rights. A call
// that is no refresh of the page keeps the login current. Where the logins cannot be read, the work
// has failed: nobody's login ends by that.
Identity whoAsksOverWeb(const HttpRequest& request, Accounts& accounts, Logins& logins);

// local.sock: the account of the process that asks, `peer`. Only uid 0 is an administrator here. A
// call that carries a client's address or a cookie comes from a web server that was pointed at the
// wrong socket, and is refused. root may say who became root, and call as another user, whom nobody
// looks up: who has no connections sees none.
Identity whoAsksLocally(const HttpRequest& request, uid_t peer, Accounts& accounts);

}  // namespace calls
