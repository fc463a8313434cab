#include "identity.h"

#include "zevo/login_token.h"

#include "cookie.h"

namespace host {

Identity whoAsksOverWeb(const HttpRequest& request, Accounts& accounts, Logins& logins) {
  if (!request.remoteAddress) return Problem::kMalformed;
  const auto token = request.cookie ? cookieToken(*request.cookie, request.tls) : std::nullopt;
  if (!token) return Problem::kNotLoggedIn;
  const auto login = logins.find(zevo::tokenHash(*token));
  if (!login || login->user.empty()) return Problem::kNotLoggedIn;
  const auto account = accounts.byName(login->user);
  if (!account || account->uid != login->uid || account->isExpired) return Problem::kNotLoggedIn;
  if (account->loginName() != login->user) return Problem::kNotLoggedIn;
  if (!request.background) logins.touch(login->id);
  return Caller{login->user, account->isAdministrator, Entrance::kWeb, login->address, login->id};
}

Identity whoAsksLocally(const HttpRequest& request, uid_t peer, Accounts& accounts) {
  if (request.remoteAddress || request.cookie) return Problem::kNobody;
  const auto account = accounts.byUid(peer);
  if (!account || account->loginName().empty()) return Problem::kNobody;
  if (account->isExpired && account->uid != 0) return Problem::kNobody;
  return Caller{account->loginName(), account->uid == 0, Entrance::kLocal, "", ""};
}

}  // namespace host
