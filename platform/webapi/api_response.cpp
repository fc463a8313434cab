#include "zevo/api_response.h"

#include <utility>

#include "webapi/json_text.h"

namespace ZEVO {

struct APIResponse::State {
  bool hasOutcome = false;
  bool isOutputEnabled = true;
  int errorCode = 0;
  std::string dataText;
};

APIResponse::APIResponse() : state_(std::make_unique<State>()) {}

APIResponse::~APIResponse() = default;

void APIResponse::SetSuccess(const Json::Value& data) {
  SetError(0, data);
}

void APIResponse::SetError(int code, const Json::Value& data) {
  state_->dataText = jsonText(data);
  state_->errorCode = code;
  state_->hasOutcome = true;
}

void APIResponse::SetEnableOutput(bool enable) {
  state_->isOutputEnabled = enable;
}

bool APIResponse::HasOutcome() const {
  return state_->hasOutcome;
}

bool APIResponse::IsOutputEnabled() const {
  return state_->isOutputEnabled;
}

int APIResponse::ErrorCode() const {
  return state_->errorCode;
}

const std::string& APIResponse::DataText() const {
  return state_->dataText;
}

}  // namespace ZEVO
