#include "call_line.h"

#include "log.h"

namespace host {

std::string summaryOf(const HttpRequest& request, const Caller* caller) {
  std::string from = "local";
  if (request.remoteAddress) from = *request.remoteAddress;
  return "method=" + inQuotes(request.path.substr(request.path.rfind('/') + 1), 64) +
         " user=" + (caller == nullptr ? "-" : inQuotes(caller->user)) + " from=" + from;
}

std::string summaryOfUnread(Entrance entrance, uid_t peer) {
  if (entrance == Entrance::kWeb) return "method=- user=- from=web";
  return "method=- user=- from=local uid=" + std::to_string(peer);
}

std::string resultText(int status, int code) {
  return " status=" + std::to_string(status) + " code=" + std::to_string(code);
}

std::string timeText(std::chrono::steady_clock::duration spent) {
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(spent);
  return " ms=" + std::to_string(ms.count());
}

}  // namespace host
