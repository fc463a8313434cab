// Requests and responses: the classes of the framework with a state of their own.
#include <json/writer.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

namespace fakes {

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.code << " " << Json::FastWriter().write(outcome.data);
}

}  // namespace fakes

namespace ZEVO {

namespace {

fakes::Calls& calls(const char* function) {
  return fakes::Platform::current(function).calls;
}

void recordRead(const char* function, const char* name, int necessity, bool validated) {
  calls(function).record(std::string(function) + "(" + name + ", " + std::to_string(necessity) +
                         ", " + (validated ? "validator" : "null") + ")");
}

}  // namespace

struct APIRequest::State {
  RequestContext context;

  // Null if the call does not carry it.
  const Json::Value* find(const char* name) const {
    return context.parameters.isMember(name) ? &context.parameters[name] : nullptr;
  }
};

APIRequest::APIRequest(RequestContext context)
    : state_(std::make_unique<State>(State{std::move(context)})) {}
APIRequest::~APIRequest() = default;

APIParameter<std::string> APIRequest::GetAndCheckString(const char* name, PARAM_NECESSITY necessity,
                                                        StringValidator validator) {
  const fakes::AllocationPause pause;
  recordRead("GetAndCheckString", name, necessity, validator != nullptr);
  const Json::Value* value = state_->find(name);
  if (value == nullptr || !value->isString()) return {};
  return APIParameter<std::string>(value->asString());
}

APIParameter<int> APIRequest::GetAndCheckInt(const char* name, PARAM_NECESSITY necessity,
                                             IntValidator validator) {
  const fakes::AllocationPause pause;
  recordRead("GetAndCheckInt", name, necessity, validator != nullptr);
  const Json::Value* value = state_->find(name);
  if (value == nullptr || !value->isInt()) return {};
  return APIParameter<int>(value->asInt());
}

APIParameter<Json::Value> APIRequest::GetAndCheckArray(const char* name, PARAM_NECESSITY necessity,
                                                       ArrayValidator validator) {
  const fakes::AllocationPause pause;
  recordRead("GetAndCheckArray", name, necessity, validator != nullptr);
  const Json::Value* value = state_->find(name);
  if (value == nullptr || !value->isArray()) return {};
  return APIParameter<Json::Value>(*value);
}

bool APIRequest::HasParam(const char* name) {
  const fakes::AllocationPause pause;
  calls("HasParam").record(std::string("HasParam(") + name + ")");
  return state_->find(name) != nullptr;
}

bool APIRequest::IsAdmin() {
  const fakes::AllocationPause pause;
  calls("IsAdmin").record("IsAdmin()");
  return state_->context.isAdmin;
}

bool APIRequest::IsDemoMode() {
  const fakes::AllocationPause pause;
  calls("IsDemoMode").record("IsDemoMode()");
  return state_->context.isDemoMode;
}

std::string APIRequest::GetLoginUserName() {
  const fakes::AllocationPause pause;
  calls("GetLoginUserName").record("GetLoginUserName()");
  return state_->context.loginUserName;
}

std::string APIRequest::GetSessionFilePath() {
  const fakes::AllocationPause pause;
  calls("GetSessionFilePath").record("GetSessionFilePath()");
  return state_->context.sessionFilePath;
}

struct APIResponse::State {
  std::vector<fakes::Outcome> outcomes;
  bool outputEnabled = true;
  std::string text;

  void record(fakes::Outcome outcome) {
    outcomes.push_back(outcome);
    text = Json::FastWriter().write(outcome.data);
    fakes::Platform::current("APIResponse").outcomes.push_back(std::move(outcome));
  }
};

APIResponse::APIResponse() : state_(std::make_unique<State>()) {}
APIResponse::~APIResponse() = default;

void APIResponse::SetSuccess(const Json::Value& data) {
  const fakes::AllocationPause pause;
  calls("SetSuccess").record("SetSuccess()");
  state_->record({0, data});
}

void APIResponse::SetError(int code, const Json::Value& data) {
  const fakes::AllocationPause pause;
  calls("SetError").record("SetError(" + std::to_string(code) + ")");
  state_->record({code, data});
}

void APIResponse::SetEnableOutput(bool enable) {
  const fakes::AllocationPause pause;
  calls("SetEnableOutput").record(std::string("SetEnableOutput(") + (enable ? "true)" : "false)"));
  state_->outputEnabled = enable;
}

bool APIResponse::HasOutcome() const {
  return !state_->outcomes.empty();
}
bool APIResponse::IsOutputEnabled() const {
  return state_->outputEnabled;
}
int APIResponse::ErrorCode() const {
  return state_->outcomes.empty() ? 0 : state_->outcomes.back().code;
}
const std::string& APIResponse::DataText() const {
  return state_->text;
}

}  // namespace ZEVO
