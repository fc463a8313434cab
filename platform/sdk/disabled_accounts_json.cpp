// The disabled accounts in the answers of hosts.
#include "host/disabled_accounts.h"

namespace zevo {
namespace {

const char* wordOf(DisabledAccount::State state) {
  switch (state) {
    case DisabledAccount::State::kChanged:
      return "changed";
    case DisabledAccount::State::kGone:
      return "gone";
    case DisabledAccount::State::kDisabled:
      break;
  }
  return "disabled";
}

}  // namespace

Json::Value disabledAccountsAsJson(const std::vector<DisabledAccount>& accounts) {
  Json::Value list(Json::objectValue);
  list["total"] = static_cast<Json::UInt64>(accounts.size());
  list["items"] = Json::Value(Json::arrayValue);
  for (const DisabledAccount& account : accounts) {
    Json::Value item(Json::objectValue);
    item["user"] = account.user;
    item["time"] = account.time;
    item["by"] = account.by;
    item["from"] = account.from;
    item["expiry_before"] =
        account.expiryBefore.empty() ? Json::Value() : Json::Value(account.expiryBefore);
    item["state"] = wordOf(account.state);
    list["items"].append(std::move(item));
  }
  return list;
}

Json::Value enabledAccountsAsJson(const std::vector<EnabledAccount>& accounts) {
  Json::Value result(Json::objectValue);
  result["accounts"] = Json::Value(Json::arrayValue);
  for (const EnabledAccount& account : accounts) {
    Json::Value item(Json::objectValue);
    item["user"] = account.user;
    item["complete"] = account.isComplete;
    item["notes"] = Json::Value(Json::arrayValue);
    for (const std::string& note : account.notes) item["notes"].append(note);
    result["accounts"].append(std::move(item));
  }
  return result;
}

}  // namespace zevo
