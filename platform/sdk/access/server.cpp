#include "sdk/access/server.h"

#include <algorithm>
#include <cstdint>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/read_file.h"
#include "sdk/access/words.h"
#include "services/tcp_text.h"
#include "services/trust.h"

namespace zevo::access {
namespace {

constexpr std::size_t kLongestConfiguration = 4UL * 1024 * 1024;
constexpr std::size_t kMostDescriptors = 256;

// Whether the process is in its own process namespace, like those of containers.
bool isElsewhere(const std::string& proc, pid_t pid) {
  struct stat own {};
  struct stat others {};
  const std::string name = "/ns/pid";
  return ::stat((proc + "/self" + name).c_str(), &own) == 0 &&
         ::stat((proc + "/" + std::to_string(pid) + name).c_str(), &others) == 0 &&
         own.st_ino != others.st_ino;
}

// The TCP ports on which a process accepts connections; none if that cannot be read.
std::set<std::uint16_t> listeningPorts(const connections::ProcessFiles& process) {
  std::set<std::uint16_t> ports;
  const auto low = process.sockets(kMostDescriptors);
  if (!low) return ports;
  for (const char* table : {"tcp", "tcp6"}) {
    const auto text = process.tcpText(table);
    for (const auto& listener : connections::parseListeners(text ? *text : "")) {
      const bool isOwn =
          std::any_of(low->sockets.begin(), low->sockets.end(),
                      [&](const auto& socket) { return socket.inode == listener.first; });
      if (isOwn) ports.insert(listener.second);
    }
  }
  return ports;
}

connections::Paths pathsBelow(const std::string& root) {
  connections::Paths paths;
  paths.proc = root + paths.proc;
  return paths;
}

connections::ProcessTable processesOf(const connections::Paths& paths) {
  return connections::ProcessTable::scan(paths).value_or(connections::ProcessTable());
}

}  // namespace

Server::Server(std::string root, ToolLimits limits)
    : root_(std::move(root)),
      limits_(limits),
      paths_(pathsBelow(root_)),
      processes_(processesOf(paths_)) {}

bool Server::has(const std::string& absolute) const {
  return ::access(path(absolute).c_str(), F_OK) == 0;
}

std::optional<std::string> Server::read(const std::string& absolute, std::string* cause) const {
  std::string text;
  const auto failure = readFile(path(absolute), kLongestConfiguration, &text);
  if (!failure) return text;
  *cause = failure->text();
  return std::nullopt;
}

std::optional<std::string> Server::ask(const std::vector<std::string>& arguments,
                                       std::string* cause) const {
  const std::string& program = arguments.front();
  Asked& last = asked_[program];
  if (!last.result.isLate && last.arguments != arguments) {
    std::vector<std::string> all = arguments;
    all.front() = path(program);
    last = {arguments, ToolRun(all, limits_).finish()};
  }
  if (last.result.complete) return last.result.output;
  *cause = program + " " + last.result.cause;
  return std::nullopt;
}

std::vector<connections::ProcessFiles> Server::daemons(const std::string& name) const {
  std::vector<connections::ProcessFiles> daemons;
  for (const auto* process : processes_.named([&](std::string_view own) { return own == name; })) {
    auto files = connections::ProcessFiles::open(paths_, process->pid);
    if (!files || isElsewhere(paths_.proc, process->pid)) continue;
    const auto isRoots = connections::isRootOwned(*files);
    if (isRoots && *isRoots) daemons.push_back(std::move(*files));
  }
  return daemons;
}

std::vector<std::string> Server::titles(const std::string& name) const {
  std::vector<std::string> titles;
  for (const connections::ProcessFiles& daemon : daemons(name)) {
    const auto title = daemon.title();
    if (!title || std::find(titles.begin(), titles.end(), title->all) != titles.end()) continue;
    titles.push_back(title->all);
  }
  return titles;
}

std::string Server::doubtOf(const std::string& name, const std::string& title,
                            const std::string& file, const std::set<std::string>& ports) const {
  std::size_t count = 0;
  std::string elsewhere;
  for (const connections::ProcessFiles& daemon : daemons(name)) {
    const auto own = daemon.title();
    if (!own || own->all != title) continue;
    const auto listening = listeningPorts(daemon);
    if (!listening.empty()) ++count;  // a client's process may still have the title
    for (const std::uint16_t port : listening) {
      if (!ports.contains(std::to_string(port))) elsewhere = std::to_string(port);
    }
  }
  if (count > 1) return "several servers run, perhaps with other files than " + file;
  return elsewhere.empty() ? "" : "it listens on port " + elsewhere + ", which is not in " + file;
}

ServiceAccess Server::askPam(const std::string& service, const std::string& pam) const {
  const PamAnswer answer =
      judgeExpired({path("/etc/pam.d"), path("/usr/lib/pam.d")}, root_, lowered(pam));
  ServiceAccess access{service, Access::kRefused, "account-rules", "", {{"pam", pam}}};
  if (answer.verdict == PamVerdict::kRefuses) return access;
  const bool passes = answer.verdict == PamVerdict::kPasses;
  access.access = passes ? Access::kLetIn : Access::kUnknown;
  access.reason = passes ? "rules-pass" : "rules-unclear";
  access.remedy = "add-account-check";
  if (!passes) access.values["cause"] = answer.cause;
  return access;
}

ServiceAccess refused(const std::string& service, const std::string& reason) {
  return {service, Access::kRefused, reason, "", {}};
}

ServiceAccess notRead(const std::string& service, const std::string& cause) {
  return unknown(service, "not-read", "try-login", cause);
}

ServiceAccess anonymous(const std::string& service, const std::string& cause) {
  return {service, Access::kLetIn, "anonymous", "disable-anonymous", {{"cause", cause}}};
}

ServiceAccess unknown(const std::string& service, const std::string& reason,
                      const std::string& remedy, const std::string& cause) {
  return {service, Access::kUnknown, reason, remedy, {{"cause", cause}}};
}

ServiceAccess worstOf(const std::vector<ServiceAccess>& all) {
  for (const Access wanted : {Access::kLetIn, Access::kUnknown}) {
    for (const ServiceAccess& one : all) {
      if (one.access == wanted) return one;
    }
  }
  return all.front();
}

ServiceAccess agreed(const std::vector<ServiceAccess>& all) {
  ServiceAccess result = all.front();
  for (const ServiceAccess& one : all) {
    if (one.access == result.access) continue;
    if (result.access == Access::kRefused) result = one;
    result.access = Access::kUnknown;
  }
  return result;
}

}  // namespace zevo::access
