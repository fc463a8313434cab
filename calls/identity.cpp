#include "calls/identity.h"

#include "calls/cookie.h"
#include "host/login_token.h"

namespace calls {
namespace {

// Whether the login belongs to this account, unchanged since it logged in, and may continue.
bool isStillOf(const zevo::WebLogin& login, const Account& account) {
  return !login.user.empty() && account.loginName() == login.user && account.uid == login.uid &&
         account.objection().empty() && !login.passwordMark.empty() &&
         account.passwordMark == login.passwordMark;
}

}  // namespace

Identity whoAsksOverWeb(const HttpRequest& request, Accounts& accounts, Logins& logins) {
  if (!request.remoteAddress || !request.rootsWord.isEmpty()) return Problem::kMalformed;
  const auto token = request.cookie ? cookieToken(*request.cookie, request.tls) : std::nullopt;
  if (!token) return Problem::kNotLoggedIn;
  zevo::WebLogin login;
  const zevo::LoginSearch search = logins.find(zevo::tokenHash(*token), &login);
  if (search == zevo::LoginSearch::kFailed) return Problem::kWorkFailed;
  if (search == zevo::LoginSearch::kNone) return Problem::kNotLoggedIn;
  const auto account = accounts.byName(login.user);
  if (!account || !isStillOf(login, *account)) return Problem::kNotLoggedIn;
  if (!request.background) logins.touch(login.id);
  return Caller{login.user, account->isAdministrator, SocketKind::kWeb, login.address,
                login.id,   login.viewUntil};
}

Identity whoAsksLocally(const HttpRequest& request, uid_t peer, Accounts& accounts) {
  if (request.remoteAddress || request.cookie) return Problem::kNobody;
  const auto account = accounts.byUid(peer);
  if (!account || account->loginName().empty()) return Problem::kNobody;
  if (account->isExpired && account->uid != 0) return Problem::kNobody;
  const RootsWord& word = request.rootsWord;
  if (account->uid != 0 && !word.isEmpty()) return Problem::kMalformed;
  Caller caller{account->loginName(), account->uid == 0, SocketKind::kLocal, "", ""};
  caller.sudoUser = word.sudoUser;
  caller.terminal = word.terminal;
  if (!word.asUser.empty()) caller.user = word.asUser;
  if (!word.asUser.empty()) caller.isAdmin = false;
  return caller;
}

}  // namespace calls
