#include "calls/call_line.h"

#include "calls/log.h"

namespace calls {

std::string summaryOf(const HttpRequest& request, const Caller* caller) {
  std::string from = "local";
  if (request.remoteAddress) from = *request.remoteAddress;
  std::string line = "method=" + inQuotes(request.path.substr(request.path.rfind('/') + 1), 64) +
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

}  // namespace calls
