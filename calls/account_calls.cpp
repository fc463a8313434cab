#include "calls/account_calls.h"

#include <algorithm>
#include <string>
#include <vector>

#include "zevo/error_trail.h"

#include "base/json.h"
#include "host/disabled_accounts.h"

namespace calls {
namespace {

bool isName(const Json::Value& value) {
  return value.isString() && !value.asString().empty();
}

}  // namespace

Answer enableAccounts(const Json::Value& parameters) {
  const Json::Value& users = parameters["users"];
  const bool areNames = parameters.size() == 1 && users.isArray() && !users.empty() &&
                        std::all_of(users.begin(), users.end(), isName);
  if (!areNames) return problemAnswer(Problem::kMalformed);
  std::vector<std::string> names;
  for (const Json::Value& user : users) names.push_back(user.asString());
  zevo::clearErrorTrail();
  const zevo::Enabling done = zevo::enableAccounts(names);
  switch (done.status) {
    case zevo::Enabling::Status::kDone:
      return successAnswer(zevo::compactJson(zevo::enabledAccountsAsJson(done.accounts)));
    case zevo::Enabling::Status::kNotDisabled:
      return problemAnswer(Problem::kNotDisabled, zevo::errorTrail());
    case zevo::Enabling::Status::kFailed:
      break;
  }
  return problemAnswer(Problem::kWorkFailed, zevo::errorTrail());
}

Answer disabledAccounts() {
  zevo::clearErrorTrail();
  const auto accounts = zevo::disabledAccounts();
  if (!accounts) return problemAnswer(Problem::kWorkFailed, zevo::errorTrail());
  return successAnswer(zevo::compactJson(zevo::disabledAccountsAsJson(*accounts)));
}

}  // namespace calls
