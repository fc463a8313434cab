#include "calls/login.h"

#include <cstring>
#include <ctime>
#include <malloc.h>
#include <syslog.h>

#include <json/value.h>

#include "zevo/account.h"

#include "base/json.h"
#include "calls/cookie.h"
#include "calls/log.h"
#include "calls/parameters.h"
#include "host/config.h"
#include "host/login_token.h"

namespace calls {
namespace {

constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestPassword = 511;  // PAM_MAX_RESP_SIZE with its NUL

// The client's credentials: a token, or a name and a password.
struct Credentials {
  std::string token;
  std::string name;
  Secret password;
};

bool isText(const Json::Value& value, std::size_t limit) {
  if (!value.isString()) return false;
  const char* begin = nullptr;
  const char* end = nullptr;
  value.getString(&begin, &end);
  const auto size = static_cast<std::size_t>(end - begin);
  return size <= limit && std::memchr(begin, 0, size) == nullptr;
}

// Moves the text out of `value` and overwrites its copy.
Secret takeSecret(const Json::Value& value) {
  const char* begin = nullptr;
  const char* end = nullptr;
  value.getString(&begin, &end);
  std::string copy(begin, end);
  ::explicit_bzero(const_cast<char*>(begin), copy.size());
  return Secret(copy);
}

std::optional<Credentials> readCredentials(HttpRequest& request) {
  const auto body = bodyParameters(request.body);
  wipe(request.body);
  if (!body) return std::nullopt;
  Credentials credentials;
  if (body->size() == 1 && isText((*body)["token"], kLongestName)) {
    credentials.token = (*body)["token"].asString();
    return credentials;
  }
  const Json::Value& name = (*body)["name"];
  const Json::Value& password = (*body)["password"];
  if (body->size() != 2 || !isText(name, kLongestName) || !isText(password, kLongestPassword)) {
    return std::nullopt;
  }
  credentials.name = name.asString();
  credentials.password = takeSecret(password);
  return credentials;
}

struct Verdict {
  std::optional<Account> account;                       // who may log in
  std::string name;                                     // for the log
  std::string reason;                                   // why the login is refused
  std::optional<std::time_t> viewUntil = std::nullopt;  // of a view login
};

bool isShadowedRoot(const Account& account, Accounts& accounts) {
  const auto alias = accounts.byName(zevo::kRootAlias);
  return zevo::isShadowedRoot(account.uid, alias ? std::optional(alias->uid) : std::nullopt);
}

Verdict judge(const std::string& name, const std::optional<Account>& account, Accounts& accounts) {
  if (!account) return {std::nullopt, name, "there is no such account"};
  if (const std::string objection = account->objection(); !objection.empty()) {
    return {std::nullopt, name, objection};
  }
  if (isShadowedRoot(*account, accounts)) {
    return {std::nullopt, name, "root cannot log in while there is an account \"admin\""};
  }
  return {account, name, ""};
}

// Why the account may not log in by password, whatever the password; empty if it may.
std::string objectionToPassword(const std::optional<Account>& account) {
  if (!account || account->uid != 0) return "";
  if (!zevo::config().rootPasswordLogin)
    return "root logs in by a link, or see root_password_login";
  return account->objection(zevo::LoginBy::kPassword);
}

Verdict checkToken(const std::string& token, const LoginTools& tools) {
  const auto link = tools.takeLink(token);
  if (!link) return {std::nullopt, "", "the login link is unknown, used or too old"};
  const auto account = tools.accounts.byName(link->name);
  if (account && account->uid != link->uid) {
    return {std::nullopt, link->name, "the link was made for a different account"};
  }
  if (account && account->passwordMark != link->passwordMark) {
    return {std::nullopt, link->name, "the password was changed after the link was made"};
  }
  if (link->viewUntil && *link->viewUntil <= std::time(nullptr)) {
    return {std::nullopt, link->name, "the view login has ended"};
  }
  Verdict verdict = judge(link->name, account, tools.accounts);
  verdict.viewUntil = link->viewUntil;
  return verdict;
}

Verdict checkCredentials(const Credentials& credentials, const std::string& address,
                         const LoginTools& tools) {
  if (!credentials.token.empty()) return checkToken(credentials.token, tools);
  const std::string& name = credentials.name;
  if (name.empty()) return {std::nullopt, "", "no name was given"};
  const auto known = tools.accounts.byName(name);
  std::string objection = objectionToPassword(known);
  if (!objection.empty()) return {std::nullopt, name, objection};
  // An unknown name is handled like a known one.
  const PamResult result =
      tools.checkPassword(known ? known->name : name, credentials.password, address);
  if (!result.accepted) return {std::nullopt, name, result.reason};
  const auto account = tools.accounts.byName(result.account);
  objection = objectionToPassword(account);
  if (!objection.empty()) return {std::nullopt, name, objection};
  // Otherwise the login would carry the mark of the new password. The user can delay PAM at will.
  if (known && account && known->name == account->name &&
      known->passwordMark != account->passwordMark) {
    return {std::nullopt, name, "the password was changed in the meantime"};
  }
  return judge(name, account, tools.accounts);
}

// None if the body is invalid. The password is wiped when this returns, since a refusal waits.
std::optional<Verdict> checkRequest(HttpRequest& request, const LoginTools& tools) {
  const auto credentials = readCredentials(request);
  if (!credentials) return std::nullopt;
  return checkCredentials(*credentials, *request.remoteAddress, tools);
}

Answer refuse(const Verdict& verdict, const std::string& address,
              std::chrono::steady_clock::time_point began, const LoginTools& tools) {
  logAuthorisation(LOG_WARNING, "login refused from " + address + ": user " +
                                    inQuotes(verdict.name) + ": " + verdict.reason);
  tools.noteRefusal(address);
  const auto spent = std::chrono::steady_clock::now() - began;
  tools.wait(kRefusalDelay - std::chrono::duration_cast<std::chrono::milliseconds>(spent));
  return problemAnswer(Problem::kWrongLogin);
}

// A view login outlives its browser; any other login ends with it.
std::optional<long> secondsLeft(const zevo::WebLogin& login) {
  if (!login.viewUntil) return std::nullopt;
  return *login.viewUntil - login.started;
}

Answer letIn(const Account& account, std::optional<std::time_t> viewUntil,
             const HttpRequest& request, const LoginTools& tools) {
  const std::string token = zevo::newLoginToken();
  zevo::WebLogin login;
  login.id = zevo::tokenHash(token);
  login.user = account.loginName();
  login.uid = account.uid;
  login.address = *request.remoteAddress;
  login.browser = zevo::browserName(request.userAgent) + (viewUntil ? " (view only)" : "");
  login.started = std::time(nullptr);
  login.passwordMark = account.passwordMark;
  login.viewUntil = viewUntil;
  if (!tools.addLogin(&login)) {
    logAuthorisation(LOG_ERR, "login from " + login.address + " could not be recorded: user " +
                                  inQuotes(login.user));
    return problemAnswer(Problem::kWorkFailed);
  }
  tools.noteLogin(login.address);
  logAuthorisation(LOG_INFO, "login from " + login.address + ": user " + inQuotes(login.user));
  Answer answer = successAnswer(identityText({login.user, account.isAdministrator, SocketKind::kWeb,
                                              login.address, login.id, login.viewUntil}));
  answer.headers.emplace_back("Set-Cookie", cookieOf(token, request.tls, secondsLeft(login)));
  return answer;
}

}  // namespace

Answer logIn(HttpRequest& request, const LoginTools& tools) {
  const auto began = std::chrono::steady_clock::now();
  // From here on the C library overwrites freed memory, so that the JSON reader and PAM modules
  // leave no copy of the password.
  ::mallopt(M_PERTURB, 0x5A);
  if (!request.remoteAddress) return problemAnswer(Problem::kMalformed);
  const auto verdict = checkRequest(request, tools);
  if (!verdict) return problemAnswer(Problem::kMalformedJson);
  if (!verdict->account) return refuse(*verdict, *request.remoteAddress, began, tools);
  return letIn(*verdict->account, verdict->viewUntil, request, tools);
}

std::string identityText(const Caller& caller) {
  Json::Value identity(Json::objectValue);
  identity["user"] = caller.user;
  identity["isAdmin"] = caller.isAdmin;
  identity["via"] = caller.via == SocketKind::kWeb ? "web" : "local";
  if (caller.via == SocketKind::kWeb) identity["address"] = caller.address;
  if (caller.viewUntil) identity["viewUntil"] = Json::Int64(*caller.viewUntil);
  identity["idleMinutes"] = static_cast<int>(zevo::config().idleLimit.count());
  return zevo::compactJson(identity);
}

}  // namespace calls
