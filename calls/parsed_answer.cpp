#include "calls/parsed_answer.h"

#include <optional>
#include <string_view>
#include <utility>

#include "base/json.h"
#include "host/disabled_accounts.h"

namespace calls {
namespace {

constexpr std::string_view kDataStart = R"({"data":)";
// No string can contain it, since quotes in strings are escaped.
constexpr std::string_view kWarningsStart = R"(,"warnings":)";
constexpr std::string_view kJsonType = "\r\nContent-Type: application/json\r\n";
constexpr int kOk = 200;

int statusOf(std::string_view headers) {
  constexpr std::string_view kName = "Status: ";
  if (!headers.starts_with(kName)) return 0;
  int status = 0;
  for (const char digit : headers.substr(kName.size(), 3)) {
    if (digit < '0' || digit > '9') return 0;
    status = status * 10 + (digit - '0');
  }
  return status;
}

// The answer in `body`, {"data":…} or {"data":…,"warnings":[…]}; the data remains JSON text.
MethodAnswer answerOfSuccess(const std::string& body) {
  MethodAnswer answer;
  answer.status = MethodAnswer::Status::kDone;
  std::size_t end = body.size() - 1;
  const std::size_t warnings = body.rfind(kWarningsStart);
  if (warnings != std::string::npos) {
    const std::size_t start = warnings + kWarningsStart.size();
    const std::optional<Json::Value> array = zevo::parseJson(body.substr(start, end - start));
    if (array) answer.warnings = zevo::readNotesFromJson(*array);
    if (array) end = warnings;
  }
  answer.data = body.substr(kDataStart.size(), end - kDataStart.size());
  return answer;
}

// The host's own problems have the HTTP status as their code; those of methods have another one.
MethodAnswer answerOfProblem(const Json::Value& document, int status) {
  MethodAnswer answer;
  const Json::Value code = document.get("code", Json::Value());
  answer.code = code.isInt() ? code.asInt() : 0;
  if (answer.code == status) answer.code = 0;
  if (answer.code != 0) answer.status = MethodAnswer::Status::kRefused;
  const Json::Value causes = document.get("causes", Json::Value());
  for (const Json::Value& cause : causes) {
    if (cause.isString()) answer.causes.push_back(cause.asString());
  }
  for (const zevo::ReadNote& note : zevo::readNotesFromJson(document["warnings"])) {
    if (note.code == zevo::kStillLetIn) answer.causes.push_back(note.detail);
  }
  if (answer.status == MethodAnswer::Status::kRefused || !answer.causes.empty()) return answer;
  const Json::Value detail = document.get("detail", Json::Value());
  return failedAnswer(detail.isString() ? detail.asString() : "no reason was given");
}

}  // namespace

MethodAnswer failedAnswer(std::string cause) {
  MethodAnswer answer;
  answer.causes.push_back(std::move(cause));
  return answer;
}

MethodAnswer answerFromScgi(const std::string& received) {
  constexpr std::string_view kEnd = "\r\n\r\n";
  const std::size_t end = received.find(kEnd);
  if (end == std::string::npos) return failedAnswer("the call ended before it answered");
  const int status = statusOf(std::string_view(received).substr(0, end));
  std::string body = received.substr(end + kEnd.size());
  if (status == kOk && received.find(kJsonType) > end) {
    return {.status = MethodAnswer::Status::kOwnOutput, .data = std::move(body)};
  }
  if (body.ends_with('\n')) body.pop_back();
  if (status == kOk && body.starts_with(kDataStart) && body.ends_with('}')) {
    return answerOfSuccess(body);
  }
  const std::optional<Json::Value> document = zevo::parseJson(body);
  if (status == kOk || !document || !document->isObject()) {
    return failedAnswer("the answer is not valid");
  }
  return answerOfProblem(*document, status);
}

}  // namespace calls
