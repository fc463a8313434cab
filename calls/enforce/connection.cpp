#include "calls/enforce/connection.h"

#include <utility>

#include "base/json.h"
#include "host/disabled_accounts.h"

namespace calls::enforce {
namespace {

bool takeText(const Json::Value& object, const char* key, std::string* text) {
  const Json::Value& member = object[key];
  if (!member.isString()) return false;
  *text = member.asString();
  return true;
}

bool takeFlag(const Json::Value& object, const char* key, bool* flag) {
  const Json::Value& member = object[key];
  if (!member.isBool()) return false;
  *flag = member.asBool();
  return true;
}

bool takeNumber(const Json::Value& object, const char* key, std::uint32_t* number) {
  const Json::Value& member = object[key];
  if (!member.isUInt()) return false;
  *number = member.asUInt();
  return true;
}

}  // namespace

bool isWebLogin(const Connection& connection) {
  return connection.type == kWebLogins;
}

bool hasProcess(const Connection& connection) {
  return connection.pid != 0 && !isWebLogin(connection);
}

bool isOfSameClient(const Connection& a, const Connection& b) {
  return a.who == b.who && a.from == b.from && a.type == b.type;
}

bool isSameRow(const Connection& a, const Connection& b) {
  return isOfSameClient(a, b) && (isWebLogin(a) || a.pid == b.pid);
}

bool isAbout(const zevo::ReadNote& warning, const std::string& type) {
  // Web logins are in no registry, and a source of SSH connections is one of their SFTP servers.
  if (type == kWebLogins || warning.code == zevo::kStillLetIn) return false;
  return warning.service.empty() || warning.service == type ||
         (warning.service == kSsh && type == kSftp);
}

Json::Value nameOf(const Connection& connection) {
  Json::Value item(Json::objectValue);
  item["who"] = connection.who;
  item["from"] = connection.from;
  item["type"] = connection.type;
  item["pid"] = connection.pid;
  return item;
}

Json::Value asJson(const Connection& connection) {
  Json::Value item = nameOf(connection);
  item["time"] = connection.time;
  item["descr"] = connection.descr;
  item["can_be_kicked"] = connection.canBeKicked;
  item["user_can_be_disabled"] = connection.userCanBeDisabled;
  return item;
}

std::optional<Connection> namedConnection(const Json::Value& item) {
  Connection connection;
  const bool isNamed = item.isObject() && takeText(item, "who", &connection.who) &&
                       takeText(item, "from", &connection.from) &&
                       takeText(item, "type", &connection.type) &&
                       takeNumber(item, "pid", &connection.pid);
  return isNamed ? std::optional(std::move(connection)) : std::nullopt;
}

std::optional<Connection> listedConnection(const Json::Value& item) {
  std::optional<Connection> connection = namedConnection(item);
  if (!connection) return {};
  const bool isWhole = takeText(item, "time", &connection->time) &&
                       takeText(item, "descr", &connection->descr) &&
                       takeFlag(item, "can_be_kicked", &connection->canBeKicked) &&
                       takeFlag(item, "user_can_be_disabled", &connection->userCanBeDisabled);
  return isWhole ? connection : std::nullopt;
}

std::optional<Page> parsePage(const std::string& json) {
  const std::optional<Json::Value> value = zevo::parseJson(json);
  if (!value || !value->isObject()) return {};
  const Json::Value& object = *value;
  const Json::Value& items = object["items"];
  if (!object["total"].isInt() || !items.isArray()) return {};
  Page page;
  page.total = object["total"].asInt();
  if (!takeText(object, "systime", &page.systime)) return {};
  while (page.systime.ends_with('\n')) page.systime.pop_back();
  page.connections.reserve(items.size());
  for (const Json::Value& item : items) {
    std::optional<Connection> connection = listedConnection(item);
    if (!connection) return {};
    page.connections.push_back(std::move(*connection));
  }
  return page;
}

}  // namespace calls::enforce
