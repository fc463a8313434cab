#include "services/smbstatus.h"

#include <json/value.h>

#include "base/json.h"
#include "base/local_time.h"
#include "base/numbers.h"
#include "base/text.h"
#include "services/address.h"
#include "services/boot_clock.h"
#include "services/iso_time.h"
#include "services/process.h"

namespace zevo::connections {
namespace {

// What smbstatus shows as the user during a login.
constexpr std::int64_t kNoUser = -1;
constexpr std::int64_t kNoUserUnsigned = 4294967295;

// The member `name` of the object `text`, if it is an object too.
std::optional<Json::Value> parseMember(std::string_view text, const char* name) {
  auto answer = parseJson(text, RepeatedNames::kLastCounts);
  if (!answer || !answer->isObject() || !(*answer)[name].isObject()) return std::nullopt;
  Json::Value member;
  member.swap((*answer)[name]);
  return member;
}

// Strings are taken as they are, numbers are accepted; anything else is the empty string.
std::string textOf(const Json::Value& object, const char* name) {
  const Json::Value& value = object[name];
  if (value.isString()) return value.asString();
  return value.isInt64() || value.isUInt64() ? value.asString() : std::string();
}

std::string localTime(const Json::Value& object, const char* name) {
  const auto time = parseIsoTime(textOf(object, name));
  return time ? localTimeText(*time) : std::string();
}

std::string numericAddress(std::string_view text) {
  const auto address = parseAddress(text);
  return address ? numericText(*address) : std::string();
}

// Parses address and port in "ipv4:10.20.0.3:52988" or "ipv6:fd20::2:60718"; depending on the
// server's configuration there is a host name instead.
void takeHostname(std::string_view hostname, SmbSession* session) {
  if (!hostname.starts_with("ipv4:") && !hostname.starts_with("ipv6:")) return;
  hostname.remove_prefix(5);
  const std::size_t colon = hostname.rfind(':');
  if (colon == std::string_view::npos) return;
  const auto port = parseNumber<std::int64_t>(hostname.substr(colon + 1));
  session->from = numericAddress(hostname.substr(0, colon));
  if (port && *port > 0 && *port <= 65535) session->clientPort = static_cast<std::uint16_t>(*port);
}

struct SmbServer {
  std::string node;
  std::int64_t pid = 0;
};

// In a cluster the pid has the form "node:pid"; a task is appended as ".task".
std::optional<SmbServer> parseServer(const Json::Value& object) {
  if (!object.isObject()) return std::nullopt;
  SmbServer server;
  const std::string text = textOf(object, "pid");
  std::string_view pid = text;
  const std::size_t colon = pid.find(':');
  if (colon != std::string_view::npos) {
    server.node = pid.substr(0, colon);
    pid.remove_prefix(colon + 1);
  }
  const auto number = parseNumber<std::int64_t>(pid.substr(0, pid.find('.')));
  if (!number) return std::nullopt;
  server.pid = *number;
  return server;
}

bool isLoginInProgress(const Json::Value& session) {
  const auto uid = parseNumber<std::int64_t>(textOf(session, "uid"));
  return uid && (*uid == kNoUser || *uid == kNoUserUnsigned);
}

std::optional<SmbSession> parseSession(const Json::Value& object) {
  SmbSession session;
  if (!object.isObject() || isLoginInProgress(object)) return std::nullopt;
  const auto server = parseServer(object["server_id"]);
  if (!server) return std::nullopt;
  session.node = server->node;
  session.pid = server->pid;
  session.id = textOf(object, "session_id");
  session.user = textOf(object, "username");
  takeHostname(textOf(object, "hostname"), &session);
  if (session.from.empty()) session.from = numericAddress(textOf(object, "remote_machine"));
  session.time = localTime(object, "creation_time");
  return session;
}

std::optional<SmbShare> parseShare(const Json::Value& object) {
  if (!object.isObject()) return std::nullopt;
  return SmbShare{.sessionId = textOf(object, "session_id"),
                  .name = textOf(object, "service"),
                  .time = localTime(object, "connected_at")};
}

template <typename Record>
std::optional<std::vector<Record>> parseRecords(
    std::string_view text, const char* name, std::optional<Record> (*parse)(const Json::Value&)) {
  const auto members = parseMember(text, name);
  if (!members) return std::nullopt;
  std::vector<Record> records;
  for (const Json::Value& member : *members) {
    auto record = parse(member);
    if (record) records.push_back(std::move(*record));
  }
  return records;
}

void addFile(const std::string& path, const Json::Value& opens, OpenFiles* files) {
  if (!opens.isObject()) return;
  for (const Json::Value& open : opens) {
    const auto server = open.isObject() ? parseServer(open["server_id"]) : std::nullopt;
    if (!server || !server->node.empty() || server->pid < 2 || server->pid > kPidMax) continue;
    (*files)[static_cast<pid_t>(server->pid)].insert(path);
  }
}

}  // namespace

std::optional<std::vector<SmbSession>> parseSmbSessions(std::string_view text) {
  return parseRecords<SmbSession>(text, "sessions", parseSession);
}

std::optional<std::vector<SmbShare>> parseSmbShares(std::string_view text) {
  return parseRecords<SmbShare>(text, "tcons", parseShare);
}

std::optional<OpenFiles> parseSmbOpenFiles(std::string_view text) {
  const auto members = parseMember(text, "open_files");
  if (!members) return std::nullopt;
  OpenFiles files;
  for (auto member = members->begin(); member != members->end(); ++member) {
    if (member->isObject()) addFile(printable(member.name()), (*member)["opens"], &files);
  }
  return files;
}

}  // namespace zevo::connections
