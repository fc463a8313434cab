#include "enforcement_log.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits.h>
#include <string_view>
#include <syslog.h>
#include <unistd.h>

#include "base/text.h"

namespace cli {
namespace {

// A line of the system log takes about a thousand bytes.
constexpr Json::ArrayIndex kMostNamed = 8;
constexpr std::size_t kLongestName = 64;

std::string quoted(const std::string& text) {
  return "\"" + zevo::printable(text, kLongestName) + "\"";
}

std::string member(const Json::Value& element, const char* name) {
  if (!element.isObject()) return quoted("");
  const Json::Value& value = element[name];
  return quoted(value.isString() ? value.asString() : "");
}

std::string elementText(const Json::Value& element) {
  if (element.isString()) return quoted(element.asString());
  std::string text = member(element, "who") + " at " + member(element, "from");
  if (element.isObject() && element.isMember("type"))
    text = member(element, "type") + " of " + text;
  const bool hasPid = element.isObject() && element["pid"].isUInt();
  return hasPid ? text + " pid " + std::to_string(element["pid"].asUInt()) : text;
}

void appendElements(const Json::Value& elements, std::string* text) {
  if (!elements.isArray()) return;
  for (Json::ArrayIndex i = 0; i < elements.size(); ++i) {
    if (!text->empty()) *text += ", ";
    if (i == kMostNamed) {
      *text += "and " + std::to_string(elements.size() - i) + " more";
      return;
    }
    *text += elementText(elements[i]);
  }
}

std::string resultText(const Answer& answer) {
  switch (answer.status) {
    case Answer::Status::kDone:
      return "done";
    case Answer::Status::kRefused:
      return "error " + std::to_string(answer.code);
    case Answer::Status::kOwnOutput:
    case Answer::Status::kFailed:
      break;
  }
  return "no answer";
}

std::string terminalName() {
  constexpr std::string_view kFolder = "/dev/";
  std::array<char, PATH_MAX> name = {};
  if (ttyname_r(STDIN_FILENO, name.data(), name.size()) != 0) return "";
  const std::string_view path = name.data();
  return std::string(path.starts_with(kFolder) ? path.substr(kFolder.size()) : path);
}

}  // namespace

bool isEnforcing(const std::string& method) {
  return method == "kick_connection" || method == "disable_user";
}

Asker askerOf(const std::string& loginUserName) {
  const char* sudoUser = std::getenv("SUDO_USER");
  return {loginUserName, sudoUser ? sudoUser : "", terminalName()};
}

std::string enforcementLine(const Asker& asker, const std::string& method,
                            const Json::Value& parameters, const Answer& answer) {
  std::string who = quoted(asker.loginUserName);
  if (!asker.sudoUser.empty()) who += " (by sudo of " + quoted(asker.sudoUser) + ")";
  const std::string where =
      asker.terminal.empty() ? "no terminal" : zevo::printable(asker.terminal, kLongestName);
  std::string whom;
  if (parameters.isObject()) {
    for (const char* name : {"service_conn", "http_conn", "users"}) {
      appendElements(parameters[name], &whom);
    }
  }
  return who + " from " + where + ": " + method + " " + (whom.empty() ? "nobody" : whom) + ": " +
         resultText(answer);
}

void logEnforcement(const Asker& asker, const std::string& method, const Json::Value& parameters,
                    const Answer& answer) {
  syslog(LOG_AUTHPRIV | LOG_NOTICE, "%s",
         enforcementLine(asker, method, parameters, answer).c_str());
}

}  // namespace cli
