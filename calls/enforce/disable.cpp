#include "calls/enforce/disable.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <syslog.h>

#include "base/json.h"
#include "calls/call_log.h"
#include "calls/enforce/accounts.h"
#include "calls/log.h"
#include "host/pending_logins.h"

namespace calls::enforce {
namespace {

using Connections = std::vector<Connection>;
using Logins = std::vector<zevo::PendingLogin>;
using Names = std::set<std::string>;

Names namesOf(const Caller& caller) {
  Names names = {caller.user};
  if (!caller.sudoUser.empty()) names.insert(caller.sudoUser);
  return names;
}

Connections connectionsOf(const Names& users, const Snapshot& now) {
  Connections theirs;
  std::copy_if(now.connections.begin(), now.connections.end(), std::back_inserter(theirs),
               [&](const Connection& connection) { return users.contains(connection.who); });
  return theirs;
}

// Rows that serve one of the users under another's name: disabling uses the name in the list.
void addUnderOthers(const Snapshot& now, const Names& users, Json::Value* stays) {
  for (const Connection& row : now.connections) {
    if (users.contains(row.who)) continue;
    for (const std::string& user : now.usersOf(row)) {
      if (!users.contains(user)) continue;
      Json::Value& item = stays->append(asJson(row));
      item["reason"] = reason("under_other_user");
      item["reason"]["user"] = user;
    }
  }
}

Json::Value plannedAccounts(const std::vector<std::string>& users, const Connections& theirs,
                            const Refusals& refusals) {
  std::vector<pid_t> ending;
  for (const Connection& row : theirs) {
    if (hasProcess(row)) ending.push_back(static_cast<pid_t>(row.pid));
  }
  Json::Value accounts = accountPlans(users, ending);
  for (Json::Value& account : accounts) {
    const auto refusal = refusals.ofAccounts.find(account["user"].asString());
    if (refusal != refusals.ofAccounts.end()) account["refusal"] = refusal->second;
  }
  return accounts;
}

Answer refused(const Work& work, const std::vector<std::string>& users, const Refusals& refusals) {
  Json::Value result(Json::objectValue);
  logLeftOut(work.request().summary("disable_user"), refusals.ofAll);
  result["refusal"] = refusals.ofAll;
  result["connections"] = Json::Value(Json::arrayValue);
  for (const std::string& user : users) {
    const auto own = refusals.ofAccounts.find(user);
    Json::Value& account = result["accounts"].append(Json::Value(Json::objectValue));
    account["user"] = user;
    account["disabled"] = isDisabled(user).value_or(false);
    account["reason"] = own != refusals.ofAccounts.end() ? own->second : refusals.ofAll;
  }
  return success(result, {});
}

std::optional<MethodAnswer> callDisable(const Work& work, const std::vector<std::string>& users) {
  const Module& module = work.module();
  ChildCall call{module.disable, module.context, work.request().summary("disable_user")};
  call.context.parameters["users"] = zevo::asArray(users);
  return callInChildren({call}, work.kickTimes()).front();
}

Names disabledOf(const std::vector<std::string>& users) {
  Names disabled;
  std::copy_if(users.begin(), users.end(), std::inserter(disabled, disabled.end()),
               [](const std::string& user) { return isDisabled(user).value_or(false); });
  return disabled;
}

// Ends the logins under way of those of `users` that are disabled.
Logins endLogins(const Work& work, const std::vector<std::string>& users,
                 std::vector<zevo::ReadNote>* notes) {
  std::string cause;
  Logins logins = zevo::endPendingLogins(disabledOf(users), &cause);
  if (!cause.empty())
    notes->push_back({std::string(zevo::kConnectionsMissing), std::string(kSsh), cause});
  for (const zevo::PendingLogin& login : logins) {
    logAuthorisation(LOG_NOTICE, work.request().summary("disable_user") +
                                     (login.hasEnded ? " ended" : " could not end") +
                                     " the SSH login of " + inQuotes(login.user) +
                                     " under way, pid " + std::to_string(login.pid));
  }
  return logins;
}

void addLogins(const Logins& logins, Json::Value* account) {
  Json::UInt64 ended = 0;
  Json::Value left(Json::arrayValue);
  for (const zevo::PendingLogin& login : logins) {
    if (login.user != (*account)["user"].asString()) continue;
    if (login.hasEnded) {
      ++ended;
    } else {
      left.append(login.pid);
    }
  }
  (*account)["logins_ended"] = ended;
  (*account)["logins_left"] = left;
}

// The results for the accounts. `hindrance`: why the call failed; null if it did not.
Json::Value accountsAfter(const std::vector<std::string>& users, const Names& disabledBefore,
                          const Logins& logins, const Json::Value& hindrance) {
  Json::Value accounts = accountResults(users);
  for (Json::Value& account : accounts) {
    if (account["disabled"].asBool()) {
      account["already"] = disabledBefore.contains(account["user"].asString());
      addLogins(logins, &account);
    } else {
      account["reason"] = hindrance;
    }
  }
  return accounts;
}

}  // namespace

Answer planDisable(const Work& work, const std::vector<std::string>& users) {
  const zevo::Result<Snapshot> now = work.readNow();
  if (!now) return failed(now.error());
  const Refusals refusals = refusalsOf(users, namesOf(work.request().caller));
  const Names names(users.begin(), users.end());
  const Connections theirs = connectionsOf(names, *now);
  Json::Value plan = planOf(theirs, {*now, work.ownWay(), {}, names}, whyOutOfReach);
  plan.removeMember("gone");
  addUnderOthers(*now, names, &plan["stays"]);
  plan["accounts"] = plannedAccounts(users, theirs, refusals);
  if (!refusals.ofAll.isNull()) plan["refusal"] = refusals.ofAll;
  return success(plan, now->warnings);
}

Answer performDisable(const Work& work, const std::vector<std::string>& users) {
  const Refusals refusals = refusalsOf(users, namesOf(work.request().caller));
  if (!refusals.ofAll.isNull()) return refused(work, users, refusals);
  const zevo::Result<Snapshot> before = work.readNow();
  if (!before) return failed(before.error());
  Attempt attempt{.targets = {}, .before = before->connections, .begin = beginOfAttempt()};
  attempt.users = {users.begin(), users.end()};
  const Names disabledBefore = disabledOf(users);
  const auto answer = callDisable(work, users);
  std::vector<zevo::ReadNote> notes;
  const Logins logins = endLogins(work, users, &notes);
  const Json::Value hindrance = hindranceOf(answer);
  if (answer) attempt.warnings = answer->warnings;
  for (const Connection& row : connectionsOf(attempt.users, *before))
    attempt.targets.push_back({row, hindrance});
  const zevo::Result<Snapshot> after = work.readAfter(attempt);
  Json::Value result(Json::objectValue);
  result["connections"] = fatesOf(attempt, after);
  if (after) result["services_without_users"] = zevo::asArray(servicesWithoutUsers(*after));
  result["accounts"] = accountsAfter(users, disabledBefore, logins, hindrance);
  if (!hindrance.isNull()) result["failure"] = hindrance;
  addNotes(attempt.warnings, &notes);
  if (after) addNotes(after->warnings, &notes);
  return success(result, notes);
}

}  // namespace calls::enforce
