// libzevowebapi of the skeleton: the call, its answer, and the texts of the report.
#include <string_view>

#include <json/writer.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"
#include "zevo/string_bundle.h"
#include "zevo/web_utils.h"

namespace ZEVO {

struct APIRequest::State : RequestContext {};

APIRequest::APIRequest(RequestContext context) : state_(new State{std::move(context)}) {}
APIRequest::~APIRequest() = default;

bool APIRequest::HasParam(const char* name) { return state_->parameters.isMember(name); }

// A value of another type counts as absent; no read fails. The module passes no validator, and the
// host of this example no texts of a query.
APIParameter<std::string> APIRequest::GetAndCheckString(const char* name, PARAM_NECESSITY,
                                                        StringValidator) {
  const Json::Value value = state_->parameters.get(name, Json::Value());
  return value.isString() ? APIParameter(value.asString()) : APIParameter<std::string>();
}

APIParameter<int> APIRequest::GetAndCheckInt(const char* name, PARAM_NECESSITY, IntValidator) {
  const Json::Value value = state_->parameters.get(name, Json::Value());
  return value.isInt() ? APIParameter(value.asInt()) : APIParameter<int>();
}

APIParameter<Json::Value> APIRequest::GetAndCheckArray(const char* name, PARAM_NECESSITY,
                                                       ArrayValidator) {
  const Json::Value value = state_->parameters.get(name, Json::Value());
  return value.isArray() ? APIParameter(value) : APIParameter<Json::Value>();
}

bool APIRequest::IsAdmin() { return state_->isAdmin; }
bool APIRequest::IsDemoMode() { return state_->isDemoMode; }
std::string APIRequest::GetLoginUserName() { return state_->loginUserName; }
std::string APIRequest::GetSessionFilePath() { return state_->sessionFilePath; }

struct APIResponse::State {
  bool hasOutcome = false;
  bool output = true;
  int code = 0;
  std::string text;
};

APIResponse::APIResponse() : state_(std::make_unique<State>()) {}
APIResponse::~APIResponse() = default;

// Written out here and now: names in `data` may be literals of the module.
void APIResponse::SetError(int code, const Json::Value& data) {
  Json::StreamWriterBuilder writer;
  writer["indentation"] = "";
  *state_ = {true, state_->output, code, Json::writeString(writer, data)};
}
void APIResponse::SetSuccess(const Json::Value& data) { SetError(0, data); }
void APIResponse::SetEnableOutput(bool enable) { state_->output = enable; }
bool APIResponse::HasOutcome() const { return state_->hasOutcome; }
bool APIResponse::IsOutputEnabled() const { return state_->output; }
int APIResponse::ErrorCode() const { return state_->code; }
const std::string& APIResponse::DataText() const { return state_->text; }

}  // namespace ZEVO

// A real bundle reads the sections of the user's language. These are all texts of the module.
struct StringBundle::Texts {};
using Section = const char*;
StringBundle::StringBundle(Section, Section, Section, Section, Section, Section) {}
StringBundle::~StringBundle() = default;

const char* StringBundle::Text(const char* key, const char* fallback) const {
  const std::string_view name = key;
  if (name == "log_time") return "Since";
  if (name == "log_account") return "Account";
  if (name == "log_client") return "From";
  if (name == "log_resource") return "Share &amp; folder";  // printed as it is: this is HTML
  if (name == "log_link_current_conn") return "Who is connected";
  return fallback;
}

std::string WebUtils::EncodeHtml(const std::string& text, bool) {
  std::string html;
  for (const char c : text) {
    if (std::string_view("&<>\"'").find(c) == std::string_view::npos) {
      html += c;
    } else {
      html += "&#" + std::to_string(c) + ";";
    }
  }
  return html;
}
