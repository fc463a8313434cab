#include "enforcement_log.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <limits.h>
#include <optional>
#include <string_view>
#include <syslog.h>
#include <unistd.h>

#include "account_expiry.h"
#include "base/text.h"

namespace cli {
namespace {

// A line of the system log takes about a thousand bytes.
constexpr Json::ArrayIndex kMostNamed = 8;
constexpr std::size_t kLongestName = 64;

std::string inQuotes(const std::string& text) {
  return "\"" + zevo::printable(text, kLongestName) + "\"";
}

std::string member(const Json::Value& element, const char* name) {
  if (!element.isObject()) return inQuotes("");
  const Json::Value& value = element[name];
  return inQuotes(value.isString() ? value.asString() : "");
}

std::string userText(const std::string& user, const Expiries& before) {
  const auto expiry = before.find(user);
  if (expiry == before.end()) return inQuotes(user);
  return inQuotes(user) + " (expiry before: " + std::to_string(expiry->second) + ")";
}

std::string elementText(const Json::Value& element, const Expiries& before) {
  if (element.isString()) return userText(element.asString(), before);
  std::string text = member(element, "who") + " at " + member(element, "from");
  if (element.isObject() && element.isMember("type"))
    text = member(element, "type") + " of " + text;
  const bool hasPid = element.isObject() && element["pid"].isUInt();
  return hasPid ? text + " pid " + std::to_string(element["pid"].asUInt()) : text;
}

void appendElements(const Json::Value& elements, const Expiries& before, std::string* text) {
  if (!elements.isArray()) return;
  for (Json::ArrayIndex i = 0; i < elements.size(); ++i) {
    if (!text->empty()) *text += ", ";
    if (i == kMostNamed) {
      *text += "and " + std::to_string(elements.size() - i) + " more";
      return;
    }
    *text += elementText(elements[i], before);
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

Expiries expiriesOf(const std::string& method, const Json::Value& parameters) {
  Expiries expiries;
  if (method != "disable_user" || !parameters.isObject()) return expiries;
  for (const Json::Value& user : parameters["users"]) {
    if (!user.isString()) continue;
    const std::optional<long> expiry = expiryOf(user.asString());
    if (expiry) expiries[user.asString()] = *expiry;
  }
  return expiries;
}

std::string enforcementLine(const Asker& asker, const std::string& method,
                            const Json::Value& parameters, const Answer& answer,
                            const Expiries& before) {
  std::string who = inQuotes(asker.loginUserName);
  if (!asker.sudoUser.empty()) who += " (by sudo of " + inQuotes(asker.sudoUser) + ")";
  const std::string where =
      asker.terminal.empty() ? "no terminal" : zevo::printable(asker.terminal, kLongestName);
  std::string whom;
  if (parameters.isObject()) {
    for (const char* name : {"service_conn", "http_conn", "users"}) {
      appendElements(parameters[name], before, &whom);
    }
  }
  return who + " from " + where + ": " + method + " " + (whom.empty() ? "nobody" : whom) + ": " +
         resultText(answer);
}

void logEnforcement(const Asker& asker, const std::string& method, const Json::Value& parameters,
                    const Answer& answer, const Expiries& before) {
  syslog(LOG_AUTHPRIV | LOG_NOTICE, "%s",
         enforcementLine(asker, method, parameters, answer, before).c_str());
}

}  // namespace cli
