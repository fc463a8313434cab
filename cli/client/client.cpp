#include "cli/client/client.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <utility>
#include <vector>

#include "base/file_failure.h"
#include "base/json.h"
#include "calls/scgi.h"
#include "cli/terminal/output.h"

namespace cli {
namespace {

using std::chrono::milliseconds;

constexpr const char* kModulePath = "/api/ZEVO.Core.CurrentConnection/1/";

// How the process of a call ended, if that is why there is no answer.
std::string endOf(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFSIGNALED(status)) return "";
  const int signal = WTERMSIG(status);
  return "the call ended by signal " + std::to_string(signal) + " (" + ::strsignal(signal) +
         ") before it answered";
}

}  // namespace

PendingCall::PendingCall(Link link, Clock::time_point begin, std::chrono::seconds limit)
    : link_(std::move(link)), begin_(begin), limit_(limit) {}

int PendingCall::timeout() const {
  const auto left = std::chrono::ceil<milliseconds>(begin_ + limit_ - Clock::now());
  return static_cast<int>(std::max(left, milliseconds(0)).count());
}

void PendingCall::giveUp() {
  if (link_.child <= 0) return;
  ::kill(-link_.child, SIGKILL);
  endOf(std::exchange(link_.child, -1));
}

std::optional<Answer> PendingCall::advance() {
  std::array<char, 65536> bytes{};
  for (;;) {
    const ssize_t got = ::recv(descriptor(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (got > 0) received_.append(bytes.data(), static_cast<std::size_t>(got));
    if (got == 0) return finish();
    if (got < 0 && errno == EAGAIN) break;
    if (got < 0 && errno != EINTR) {
      return failedAnswer("the answer could not be read: " + zevo::errorText(errno));
    }
  }
  if (Clock::now() < begin_ + limit_) return std::nullopt;
  return failedAnswer("no answer came within " + std::to_string(limit_.count()) + " seconds");
}

Answer PendingCall::finish() {
  link_.connection.reset();
  const std::string end = link_.child > 0 ? endOf(std::exchange(link_.child, -1)) : "";
  return end.empty() || !received_.empty() ? answerFromScgi(received_) : failedAnswer(end);
}

Client::Client(Transport& transport, calls::RootsWord word, std::chrono::seconds limit)
    : transport_(transport), word_(std::move(word)), limit_(limit) {}

zevo::Result<PendingCall> Client::begin(const std::string& method, const Json::Value& parameters) {
  return send("POST", kModulePath + method, zevo::asciiJson(parameters));
}

Answer Client::call(const std::string& method, const Json::Value& parameters) {
  return wait(begin(method, parameters));
}

Answer Client::get(const std::string& resource) {
  return wait(send("GET", "/api/" + resource, ""));
}

Answer Client::post(const std::string& resource, const Json::Value& parameters,
                    const std::function<void()>& isWaiting) {
  return wait(send("POST", "/api/" + resource, zevo::asciiJson(parameters)), isWaiting);
}

zevo::Result<PendingCall> Client::send(const std::string& httpMethod, const std::string& path,
                                       const std::string& body) {
  const auto begin = PendingCall::Clock::now();
  zevo::Result<Link> link = transport_.connect();
  if (!link) return tl::unexpected(link.error());
  std::vector<std::pair<std::string, std::string>> headers = {{"REQUEST_METHOD", httpMethod},
                                                              {"REQUEST_URI", path}};
  if (!body.empty()) headers.emplace_back("CONTENT_TYPE", "application/json");
  for (const auto& [name, value] : {std::pair(calls::kAsUserHeader, word_.asUser),
                                    std::pair(calls::kSudoUserHeader, word_.sudoUser),
                                    std::pair(calls::kTerminalHeader, word_.terminal)}) {
    if (!value.empty()) headers.emplace_back(name, value);
  }
  // Even if it cannot be sent, there may be an answer with the reason.
  writeAll(link->connection.get(), calls::scgiRequestText(headers, body));
  return PendingCall(std::move(*link), begin, limit_);
}

Answer Client::wait(zevo::Result<PendingCall> call, const std::function<void()>& isWaiting) {
  constexpr int kTickMs = 1000;
  if (!call) return failedAnswer(call.error().sentence);
  for (;;) {
    if (std::optional<Answer> answer = call->advance()) return std::move(*answer);
    if (isWaiting) isWaiting();
    pollfd watched{call->descriptor(), POLLIN, 0};
    ::poll(&watched, 1, isWaiting ? std::min(call->timeout(), kTickMs) : call->timeout());
  }
}

}  // namespace cli
