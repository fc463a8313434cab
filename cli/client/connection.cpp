#include "cli/client/connection.h"

#include <utility>

#include <json/value.h>

#include "cli/client/json_text.h"

namespace cli {
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

std::optional<Connection> parseConnection(const Json::Value& item) {
  if (!item.isObject()) return {};
  Connection connection;
  const bool isWhole =
      takeText(item, "time", &connection.time) && takeText(item, "who", &connection.who) &&
      takeText(item, "from", &connection.from) && takeText(item, "type", &connection.type) &&
      takeText(item, "descr", &connection.descr) && takeNumber(item, "pid", &connection.pid) &&
      takeFlag(item, "can_be_kicked", &connection.canBeKicked) &&
      takeFlag(item, "user_can_be_disabled", &connection.userCanBeDisabled);
  if (!isWhole) return {};
  return connection;
}

}  // namespace

bool isSameConnection(const Connection& a, const Connection& b) {
  return a.pid == b.pid && a.who == b.who && a.from == b.from && a.type == b.type;
}

std::optional<Page> parsePage(const std::string& json) {
  const std::optional<Json::Value> value = parseJson(json);
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
    std::optional<Connection> connection = parseConnection(item);
    if (!connection) return {};
    page.connections.push_back(std::move(*connection));
  }
  return page;
}

}  // namespace cli
