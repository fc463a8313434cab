#include "cli/commands/login_link.h"

#include <array>
#include <ctime>
#include <memory>
#include <unistd.h>

#include "zevo/account.h"
#include "zevo/error_trail.h"
#include "zevo/session_file.h"

#include "cli/terminal/output.h"
#include "cli/terminal/table_output.h"
#include "host/config.h"
#include "host/login_link.h"
#include "host/login_state.h"
#include "host/web_login.h"

namespace cli {
namespace {

using User = std::unique_ptr<UserRecord, void (*)(UserRecord*)>;

User lookUp(const std::string& name) {
  UserRecord* record = nullptr;
  ZEVOUserGet(name.c_str(), &record);
  return {record, &ZEVOUserFree};
}

// The address of the page in a default installation.
std::string usualUrl() {
  std::array<char, 256> name{};
  const bool isNamed = gethostname(name.data(), name.size() - 1) == 0 && name.front() != '\0';
  return std::string("https://") + (isNamed ? name.data() : "localhost") + ":8443/";
}

ExitCode failToLink(const std::string& reason) {
  complain("no link was created: " + reason);
  return kExitFailed;
}

// Why the account cannot log in to the page; empty if no obstacle is known.
std::string objectionTo(const UserRecord& user, const zevo::LoginState& state) {
  std::string objection = zevo::objectionToLogin(state, user.uid);
  if (!objection.empty()) return objection;
  const User alias = lookUp(zevo::kRootAlias);
  return zevo::isShadowedRoot(user.uid, alias ? std::optional(alias->uid) : std::nullopt)
             ? "root is \"admin\" on the page, but an account \"admin\" exists: give an account, "
               "as in 'login-link admin'"
             : "";
}

std::optional<std::time_t> endOf(const LoginLink& request) {
  constexpr std::time_t kSecondsADay = 86400;
  if (!request.viewDays) return std::nullopt;
  return std::time(nullptr) + *request.viewDays * kSecondsADay;
}

// False, with the last error set, if it cannot be written.
bool create(const zevo::LinkAccount& account, const std::string& passwordField,
            std::string* token) {
  const std::string& file = zevo::config().sessionFile;
  if (ZEVOCgiSessionFileCreate(file.c_str()) != 0) return false;
  const auto key = zevo::loginKey(file);
  if (!key) return false;
  zevo::LinkAccount marked = account;
  marked.passwordMark = zevo::passwordMark(*key, account.name, passwordField);
  return zevo::createLoginLink(file, marked, token);
}

}  // namespace

ExitCode makeLoginLink(const LoginLink& request) {
  const std::string name = request.user.value_or("root");
  const User user = lookUp(name);
  if (!user) return failToLink("there is no account \"" + name + "\"");
  const zevo::LoginState state = zevo::loginState(*user);
  const std::string objection = objectionTo(*user, state);
  if (!objection.empty()) return failToLink(objection);
  std::string token;
  zevo::clearErrorTrail();
  if (!create({user->name, user->uid, endOf(request)}, state.passwordField, &token)) {
    const auto causes = zevo::errorTrail();
    return failToLink(causes.empty() ? "it could not be written" : causes.back());
  }
  return printText(request.url.value_or(usualUrl()) + "#login=" + token + "\n");
}

}  // namespace cli
