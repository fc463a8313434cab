#include "calls/enforce/accounts.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <shadow.h>
#include <thread>

#include "zevo/account.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "base/account_name.h"
#include "base/json.h"
#include "calls/enforce/kick_plan.h"
#include "host/account_access.h"
#include "host/disabled_accounts.h"

namespace calls::enforce {
namespace {

std::optional<uid_t> uidOf(const std::string& user) {
  UserRecord* record = nullptr;
  if (!zevo::canBeAccountName(user) || ZEVOUserGet(user.c_str(), &record) < 0) return {};
  const std::unique_ptr<UserRecord, void (*)(UserRecord*)> owned(record, &ZEVOUserFree);
  return record != nullptr ? std::optional(record->uid) : std::nullopt;
}

// The account's expiry day since 1970, -1 if it has none; nothing without an entry.
std::optional<long> expiryOf(const std::string& user) {
  if (!zevo::canBeAccountName(user)) return {};
  const spwd* entry = ::getspnam(user.c_str());
  return entry ? std::optional(entry->sp_expire) : std::nullopt;
}

const char* refusalOf(const std::string& user, const std::set<std::string>& own) {
  if (own.contains(user)) return "own_account";
  if (user.find_first_of("\\@") != std::string::npos) return "directory_account";
  const std::optional<uid_t> uid = uidOf(user);
  if (user == "root" || (uid && *uid == 0)) return "root_account";
  if (!uid) return "unknown_account";
  return expiryOf(user) ? nullptr : "not_local";
}

Json::Value withCauses(Json::Value value) {
  value["causes"] = zevo::asArray(zevo::errorTrail());
  return value;
}

const char* wordOf(zevo::Access access) {
  switch (access) {
    case zevo::Access::kRefused:
      return "refused";
    case zevo::Access::kLetIn:
      return "let_in";
    case zevo::Access::kUnknown:
      break;
  }
  return "unknown";
}

// Those of `services` that let the account in, or may do so.
Json::Value asJson(const std::vector<zevo::ServiceAccess>& services) {
  Json::Value all(Json::arrayValue);
  for (const zevo::ServiceAccess& service : services) {
    if (service.access == zevo::Access::kRefused) continue;
    Json::Value& item = all.append(reason(service.reason.c_str()));
    item["service"] = service.service;
    item["access"] = wordOf(service.access);
    item["remedy"] = service.remedy;
    item["values"] = Json::Value(Json::objectValue);
    for (const auto& [name, value] : service.values) item["values"][name] = value;
  }
  return all;
}

Json::Value asJson(const zevo::LeftRunning& left) {
  Json::Value value(Json::objectValue);
  if (left.uid) value["uid"] = *left.uid;
  value["processes"] = static_cast<Json::UInt64>(left.processes);
  value["apart"] = zevo::asArray(left.apart);
  value["crontab"] = left.hasCrontab;
  value["at_jobs"] = static_cast<Json::UInt64>(left.atJobs);
  return value;
}

// What still runs after the processes of ended connections have had time to end.
std::map<std::string, zevo::LeftRunning> leftRunningSoon(const std::vector<std::string>& users) {
  constexpr int kLooks = 10;
  constexpr std::chrono::milliseconds kBetweenLooks{100};
  auto left = zevo::leftRunning(users, {});
  const auto isAnyRunning = [&left] {
    return std::any_of(left.begin(), left.end(),
                       [](const auto& ofUser) { return ofUser.second.processes > 0; });
  };
  for (int look = 1; look < kLooks && isAnyRunning(); ++look) {
    std::this_thread::sleep_for(kBetweenLooks);
    left = zevo::leftRunning(users, {});
  }
  return left;
}

// How the disabling of accounts can be undone, by their names.
std::map<std::string, Json::Value> undos() {
  std::map<std::string, Json::Value> all;
  const auto accounts = zevo::disabledAccounts();
  if (!accounts) return all;
  for (const zevo::DisabledAccount& account : *accounts) {
    const std::string& day = account.expiryBefore;
    all[account.user]["expiry_before"] = day.empty() ? Json::Value() : Json::Value(day);
  }
  return all;
}

}  // namespace

Refusals refusalsOf(const std::vector<std::string>& users, const std::set<std::string>& own) {
  Refusals refusals;
  for (const std::string& user : users) {
    const char* key = refusalOf(user, own);
    if (!key) continue;
    refusals.ofAccounts[user] = reason(key);
    if (!refusals.ofAll.isNull()) continue;
    refusals.ofAll = reason(key);
    refusals.ofAll["user"] = user;
  }
  if (!refusals.ofAll.isNull()) return refusals;
  zevo::clearErrorTrail();
  const int code = zevo::disablingRefusal(users);
  if (code == ZEVO_ERR_NONE) return refusals;
  const bool isGuard = code == ZEVO_ERR_TOO_FEW_ADMINISTRATORS;
  refusals.ofAll = withCauses(reason(isGuard ? "too_few_administrators" : "failed"));
  return refusals;
}

std::optional<bool> isDisabled(const std::string& user) {
  const std::optional<long> expiry = expiryOf(user);
  return expiry ? std::optional(*expiry == zevo::kDisablingDay) : std::nullopt;
}

Json::Value accountPlans(const std::vector<std::string>& users, const std::vector<pid_t>& ending) {
  auto access = zevo::accountAccess(users, zevo::AccessMoment::kOnceDisabled);
  auto left = zevo::leftRunning(users, ending);
  Json::Value accounts(Json::arrayValue);
  for (const std::string& user : users) {
    Json::Value& account = accounts.append(Json::Value(Json::objectValue));
    account["user"] = user;
    account["exists"] = uidOf(user).has_value();
    account["disabled"] = isDisabled(user).value_or(false);
    account["access"] = asJson(access[user]);
    account["left_running"] = asJson(left[user]);
  }
  return accounts;
}

Json::Value accountResults(const std::vector<std::string>& users) {
  std::vector<std::string> out;
  std::copy_if(users.begin(), users.end(), std::back_inserter(out),
               [](const std::string& user) { return isDisabled(user).value_or(false); });
  auto access = zevo::accountAccess(out, zevo::AccessMoment::kNow);
  auto left = leftRunningSoon(out);
  const auto undo = undos();
  Json::Value accounts(Json::arrayValue);
  for (const std::string& user : users) {
    Json::Value& account = accounts.append(Json::Value(Json::objectValue));
    account["user"] = user;
    account["disabled"] = left.contains(user);
    if (!left.contains(user)) continue;
    account["access"] = asJson(access[user]);
    account["left_running"] = asJson(left[user]);
    if (const auto own = undo.find(user); own != undo.end()) account["undo"] = own->second;
  }
  return accounts;
}

}  // namespace calls::enforce
