#include "calls/answer.h"

#include <algorithm>
#include <string_view>

#include <json/value.h>

#include "base/json.h"

namespace calls {
namespace {

constexpr const char* kRetrySeconds = "2";
constexpr std::string_view kFixedHeaders =
    "Cache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\n";

std::string statusLine(int status, const std::string& title) {
  return "Status: " + std::to_string(status) + " " + title + "\r\n";
}

bool isTokenCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

// A header line that may be passed on: a name, a colon, a value without control characters.
bool isHeaderLine(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0) return false;
  const std::string_view name = line.substr(0, colon);
  const std::string_view value = line.substr(colon + 1);
  if (!std::all_of(name.begin(), name.end(), isTokenCharacter)) return false;
  const bool hasControl = std::any_of(value.begin(), value.end(), [](char c) {
    return (c >= 0 && c < 0x20 && c != '\t') || c == 0x7F;
  });
  return !hasControl && !equalsIgnoringCase(name, "Status") &&
         !equalsIgnoringCase(name, "Content-Length");
}

Answer problemDocument(Problem problem, int code, const std::vector<std::string>& causes,
                       const Json::Value& warnings = {}) {
  const ProblemRow& row = rowOf(problem);
  Json::Value document(Json::objectValue);
  document["type"] = "about:blank";
  document["title"] = row.title;
  document["status"] = row.status;
  document["detail"] = row.detail;
  document["code"] = code;
  for (const std::string& cause : causes) document["causes"].append(cause);
  if (!warnings.empty()) document["warnings"] = warnings;
  Answer answer;
  answer.status = row.status;
  answer.title = row.title;
  answer.code = code;
  answer.causes = causes;
  answer.headers = {{"Content-Type", "application/problem+json"}};
  if (problem == Problem::kBusy) answer.headers.emplace_back("Retry-After", kRetrySeconds);
  answer.body = zevo::compactJson(document) + "\n";
  return answer;
}

}  // namespace

Answer successAnswer(const std::string& data, const Json::Value& warnings) {
  Answer answer;
  answer.headers = {{"Content-Type", "application/json"}};
  answer.body = "{\"data\":" + data;
  if (!warnings.empty()) answer.body += ",\"warnings\":" + zevo::compactJson(warnings);
  answer.body += "}\n";
  return answer;
}

Answer problemAnswer(Problem problem, const std::vector<std::string>& causes) {
  return problemDocument(problem, rowOf(problem).code, causes);
}

Answer methodFailureAnswer(int code, const std::vector<std::string>& causes,
                           const Json::Value& warnings) {
  return problemDocument(problemOfCode(code), code, causes, warnings);
}

Answer wrongMethodAnswer(const std::string& allow) {
  Answer answer = problemAnswer(Problem::kWrongMethod);
  answer.headers.emplace_back("Allow", allow);
  return answer;
}

std::string scgiText(const Answer& answer) {
  std::string text = statusLine(answer.status, answer.title);
  text += kFixedHeaders;
  for (const auto& [name, value] : answer.headers) {
    text.append(name).append(": ").append(value).append("\r\n");
  }
  text += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n\r\n";
  return text + answer.body;
}

std::string passedThroughText(const std::string& output) {
  std::string_view rest = output;
  std::string lines;
  while (true) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) return {};
    std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.empty()) break;
    if (!isHeaderLine(line)) return {};
    lines += std::string(line) + "\r\n";
  }
  if (lines.empty()) return {};
  std::string text = statusLine(200, "OK") + std::string(kFixedHeaders) + lines;
  text += "Content-Length: " + std::to_string(rest.size()) + "\r\n\r\n";
  return text.append(rest);
}

}  // namespace calls
