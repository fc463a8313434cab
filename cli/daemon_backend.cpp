#include "daemon_backend.h"

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "base/file_failure.h"
#include "base/text.h"
#include "json_text.h"

namespace cli {
namespace {

constexpr std::string_view kPath = "/api/ZEVO.Core.CurrentConnection/1/";
constexpr std::string_view kDataStart = R"({"data":)";
// No text can hold it: quotes in texts are escaped.
constexpr std::string_view kWarningsStart = R"(,"warnings":)";
constexpr int kOk = 200;

// Each wait on `connection`, also that for being let in, ends after `limit` with EAGAIN.
bool limitWaits(int connection, std::chrono::seconds limit) {
  timeval time{};
  time.tv_sec = limit.count();
  return ::setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) == 0 &&
         ::setsockopt(connection, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) == 0;
}

// Connected to root; none, with errno set, where that cannot be.
zevo::FileDescriptor connectTo(const std::string& path, std::chrono::seconds limit) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return {};
  }
  path.copy(address.sun_path, path.size());
  zevo::FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!connection || !limitWaits(connection.get(), limit)) return {};
  const auto* target = reinterpret_cast<const sockaddr*>(&address);
  if (::connect(connection.get(), target, sizeof address) != 0) return {};
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return {};
  if (peer.uid == 0) return connection;
  errno = EPERM;
  return {};
}

std::string requestFor(const std::string& method, const Json::Value& parameters) {
  const std::string body = compactJson(parameters);
  std::string headers;
  const auto add = [&headers](std::string_view name, std::string_view value) {
    headers.append(name).append(1, '\0').append(value).append(1, '\0');
  };
  add("CONTENT_LENGTH", std::to_string(body.size()));
  add("SCGI", "1");
  add("REQUEST_METHOD", "POST");
  add("REQUEST_URI", std::string(kPath) + method);
  add("CONTENT_TYPE", "application/json");
  return std::to_string(headers.size()) + ":" + headers + "," + body;
}

bool sendAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// All that comes until the other side is closed.
std::optional<std::string> receiveAll(int connection) {
  std::string received;
  std::array<char, 65536> buffer{};
  while (true) {
    const ssize_t got = ::recv(connection, buffer.data(), buffer.size(), 0);
    if (got == 0) return received;
    if (got > 0) received.append(buffer.data(), static_cast<std::size_t>(got));
    if (got < 0 && errno != EINTR) return std::nullopt;
  }
}

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

// The answer in `body`, {"data":…} or {"data":…,"warnings":[…]}: the data stays the text that it
// is.
Answer answerOfSuccess(const std::string& body) {
  Answer answer;
  answer.status = Answer::Status::kDone;
  std::size_t end = body.size() - 1;
  const std::size_t warnings = body.rfind(kWarningsStart);
  if (warnings != std::string::npos) {
    const std::size_t start = warnings + kWarningsStart.size();
    const std::optional<Json::Value> array = parseJson(body.substr(start, end - start));
    if (array) answer.warnings = zevo::readNotesFromJson(*array);
    if (array) end = warnings;
  }
  answer.data = body.substr(kDataStart.size(), end - kDataStart.size());
  return answer;
}

bool isMethodsOwn(int code) {
  return code == kCodeNotAdministrator || code == kCodeFailed || code == kCodeTooFewAdministrators;
}

Answer answerOfProblem(const Json::Value& document) {
  Answer answer;
  const Json::Value code = document.get("code", Json::Value());
  answer.code = code.isInt() ? code.asInt() : 0;
  const Json::Value causes = document.get("causes", Json::Value());
  for (const Json::Value& cause : causes) {
    if (cause.isString()) answer.causes.push_back(cause.asString());
  }
  if (isMethodsOwn(answer.code)) {
    answer.status = Answer::Status::kRefused;
    return answer;
  }
  const Json::Value detail = document.get("detail", Json::Value());
  return failedAnswer("the daemon answered: " +
                      (detail.isString() ? detail.asString() : "(no reason given)"));
}

}  // namespace

DaemonBackend::DaemonBackend(std::string socketPath, std::chrono::seconds limit)
    : socketPath_(std::move(socketPath)), limit_(limit) {}

bool DaemonBackend::isThere() {
  connection_ = connectTo(socketPath_, limit_);
  return connection_ || errno == EAGAIN;
}

// For errno.
Answer DaemonBackend::failure(const char* operation) const {
  if (errno != EAGAIN) {
    return failedAnswer(zevo::FileFailure{operation, socketPath_, errno}.text());
  }
  return failedAnswer("the daemon did not answer on " + zevo::printable(socketPath_, 4096) +
                      " within " + std::to_string(limit_.count()) + " seconds");
}

Answer DaemonBackend::call(const std::string& method, const Json::Value& parameters) {
  if (!connection_) connection_ = connectTo(socketPath_, limit_);
  const zevo::FileDescriptor connection = std::move(connection_);
  if (!connection) return failure("connect to");
  if (!sendAll(connection.get(), requestFor(method, parameters))) return failure("write to");
  const auto received = receiveAll(connection.get());
  return received ? answerOfDaemon(*received) : failure("read from");
}

void DaemonBackend::noteUnanswered(const std::string& /*method*/, const Json::Value& /*parameters*/,
                                   const Answer& /*answer*/) {}

Answer answerOfDaemon(const std::string& received) {
  constexpr std::string_view kEnd = "\r\n\r\n";
  const std::size_t end = received.find(kEnd);
  if (end == std::string::npos) return failedAnswer("the daemon gave no answer");
  const int status = statusOf(std::string_view(received).substr(0, end));
  std::string body = received.substr(end + kEnd.size());
  if (body.ends_with('\n')) body.pop_back();
  if (status == kOk && body.starts_with(kDataStart) && body.ends_with('}')) {
    return answerOfSuccess(body);
  }
  const std::optional<Json::Value> document = parseJson(body);
  if (status == kOk || !document || !document->isObject()) {
    return failedAnswer("the daemon's answer makes no sense");
  }
  return answerOfProblem(*document);
}

}  // namespace cli
