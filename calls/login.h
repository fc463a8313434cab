// Logging in and out over the web.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "calls/accounts.h"
#include "calls/answer.h"
#include "calls/http_request.h"
#include "calls/identity.h"
#include "calls/pam_login.h"
#include "host/login_link.h"
#include "host/web_login.h"

namespace calls {

// What a login needs from the system.
struct LoginTools {
  Accounts& accounts;
  std::function<PamResult(const std::string& name, const Secret& password,
                          const std::string& address)>
      checkPassword;
  std::function<std::optional<zevo::LinkAccount>(const std::string& token)> takeLink;
  std::function<bool(zevo::WebLogin* login)> addLogin;
  std::function<void(std::chrono::milliseconds)> wait;
  std::function<void(const std::string& address)> noteRefusal;  // before the wait
  std::function<void(const std::string& address)> noteLogin;
};

// A refused login is answered this long after it began, whatever the reason, so that neither the
// answer nor its timing distinguishes a wrong name from a wrong password.
inline constexpr std::chrono::milliseconds kRefusalDelay{2000};

// POST /api/login: the answer, with the cookie on success. Wipes the request's body. Each refusal
// and each login is one line of the authorisation log:
//   login refused from ADDRESS: user "NAME": REASON
//   login from ADDRESS: user "NAME"
Answer logIn(HttpRequest& request, const LoginTools& tools);

// {"user": …}: what /api/login and /api/whoami return about the caller, as JSON text.
std::string identityText(const Caller& caller);

}  // namespace calls
