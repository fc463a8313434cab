#include "calls/call_log.h"

#include <cstddef>
#include <syslog.h>

#include "base/json.h"
#include "calls/log.h"

namespace calls {
namespace {

constexpr std::size_t kLoggedAtOnce = 3000;  // bytes; a longer line might be cut on its way

// The level of a state-changing call's lines in the authorisation log. The journal drops lines of a
// unit that writes too many, counted per level, so the lines of callers who will be refused have a
// level of their own.
int levelFor(bool isAdmin) {
  return isAdmin ? LOG_NOTICE : LOG_DEBUG;
}

}  // namespace

std::string summaryOf(const HttpRequest& request, const Caller* caller, std::string_view method) {
  std::string from = "local";
  if (request.remoteAddress) from = *request.remoteAddress;
  if (method.empty()) method = std::string_view(request.path).substr(request.path.rfind('/') + 1);
  std::string line = "method=" + inQuotes(method, 64) +
                     " user=" + (caller == nullptr ? "-" : inQuotes(caller->user));
  if (caller != nullptr && !caller->sudoUser.empty()) line += " sudo=" + inQuotes(caller->sudoUser);
  line += " from=" + from;
  if (caller != nullptr && !caller->terminal.empty()) {
    line += " terminal=" + inQuotes(caller->terminal);
  }
  return line;
}

std::string summaryOfUnread(SocketKind socketKind, uid_t peer) {
  if (socketKind == SocketKind::kWeb) return "method=- user=- from=web";
  return "method=- user=- from=local uid=" + std::to_string(peer);
}

std::string resultText(int status, int code) {
  return " status=" + std::to_string(status) + " code=" + std::to_string(code);
}

std::string timeText(std::chrono::steady_clock::duration spent) {
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(spent);
  return " ms=" + std::to_string(ms.count());
}

void logBeginning(const std::string& summary, const Json::Value& parameters, bool isAdmin) {
  const std::string text = zevo::asciiJson(parameters);
  for (std::size_t at = 0; at < text.size(); at += kLoggedAtOnce) {
    const bool isCut = text.size() - at > kLoggedAtOnce;
    logAuthorisation(levelFor(isAdmin), summary + (at == 0 ? " begins with " : " continues with ") +
                                            text.substr(at, kLoggedAtOnce) + (isCut ? " …" : ""));
    if (!isAdmin) return;
  }
}

void logLeftOut(const std::string& summary, const Json::Value& what) {
  logAuthorisation(LOG_NOTICE,
                   summary + " skipped: " + zevo::asciiJson(what).substr(0, kLoggedAtOnce));
}

void logEnd(const std::string& summary, int status, int code, bool isAdmin) {
  logAuthorisation(levelFor(isAdmin), summary + resultText(status, code));
}

}  // namespace calls
