#include "zevo/api_request.h"

#include <cstring>
#include <optional>
#include <utility>

#include "base/numbers.h"

namespace ZEVO {

struct APIRequest::State {
  RequestContext context;

  // The parameter, or null if the call does not have it.
  [[nodiscard]] const Json::Value* find(const char* name) const {
    if (name == nullptr || !context.parameters.isObject()) return nullptr;
    return context.parameters.find(name, name + std::strlen(name));
  }
};

namespace {

std::optional<int> numberOf(const Json::Value& value, bool textual) {
  if (textual) return value.isString() ? zevo::parseNumber<int>(value.asString()) : std::nullopt;
  // JSON has one type of number: 5.0 is 5, but 5.5 and numbers beyond 32 bits are not integers.
  if (!value.isNumeric() || !value.isInt()) return std::nullopt;
  return value.asInt();
}

template <typename T>
APIParameter<T> checked(T value, bool (*validator)(const T&)) {
  if (validator != nullptr && !validator(value)) return {};
  return APIParameter<T>(std::move(value));
}

}  // namespace

APIRequest::APIRequest(RequestContext context)
    : state_(std::make_unique<State>(State{std::move(context)})) {}

APIRequest::~APIRequest() = default;

APIParameter<std::string> APIRequest::GetAndCheckString(const char* name,
                                                        PARAM_NECESSITY /*necessity*/,
                                                        StringValidator validator) {
  const Json::Value* value = state_->find(name);
  if (value == nullptr || !value->isString()) return {};
  return checked(value->asString(), validator);
}

APIParameter<int> APIRequest::GetAndCheckInt(const char* name, PARAM_NECESSITY /*necessity*/,
                                             IntValidator validator) {
  const Json::Value* value = state_->find(name);
  if (value == nullptr) return {};
  const auto number = numberOf(*value, state_->context.textual);
  if (!number || (validator != nullptr && !validator(*number))) return {};
  return APIParameter<int>(*number);
}

APIParameter<Json::Value> APIRequest::GetAndCheckArray(const char* name,
                                                       PARAM_NECESSITY /*necessity*/,
                                                       ArrayValidator validator) {
  const Json::Value* value = state_->find(name);
  if (value == nullptr || !value->isArray()) return {};
  return checked(*value, validator);
}

bool APIRequest::HasParam(const char* name) {
  return state_->find(name) != nullptr;
}

bool APIRequest::IsAdmin() {
  return state_->context.isAdmin;
}

bool APIRequest::IsDemoMode() {
  return state_->context.isDemoMode;
}

std::string APIRequest::GetLoginUserName() {
  return state_->context.loginUserName;
}

std::string APIRequest::GetSessionFilePath() {
  return state_->context.sessionFilePath;
}

}  // namespace ZEVO
