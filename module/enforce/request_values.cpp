#include "enforce/request_values.h"

namespace {

const Json::Value& member(const Json::Value& element, const char* name) {
  return element.isObject() ? element[name] : Json::Value::nullSingleton();
}

}  // namespace

std::string textOf(const Json::Value& value) {
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

std::string textMember(const Json::Value& element, const char* name) {
  return textOf(member(element, name));
}

unsigned numberMember(const Json::Value& element, const char* name) {
  const Json::Value& value = member(element, name);
  return value.isConvertibleTo(Json::uintValue) ? value.asUInt() : 0;
}
