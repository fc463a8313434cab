#include "sdk/connections/pureftpd.h"

#include <cerrno>
#include <charconv>
#include <set>
#include <unistd.h>

#include "sdk/connections/account_name.h"
#include "sdk/connections/served_client.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kNotLoggedIn = "?";

// pure-ftpd, or with a data base for its users pure-ftpd-mysql and the like.
bool isPureFtpd(std::string_view name) {
  return name.starts_with("pure-ftpd");
}

// Takes the next field, without its escapes, off `line`.
std::string takeField(std::string_view& line) {
  std::string field;
  std::size_t at = 0;
  for (; at < line.size() && line[at] != '|'; ++at) {
    if (line[at] == '\\' && at + 1 < line.size()) ++at;
    field += line[at];
  }
  line.remove_prefix(at < line.size() ? at + 1 : at);
  return field;
}

// The accounts that Pure-FTPd's own tool tells; none where it cannot be asked.
std::map<pid_t, std::string> readAccounts(const Sources& sources, const ToolLimits& limits) {
  const std::string& tool = sources.paths().pureFtpwho;
  if (::access(tool.c_str(), X_OK) != 0 && errno == ENOENT) return {};
  const ToolResult result = ToolRun({tool, "-s"}, limits).finish();
  if (result.complete) return parsePureFtpwho(result.output);
  sources.log("Pure-FTPd: " + tool + " " + result.cause +
              "; its virtual users are shown under the accounts of their processes");
  return {};
}

// The user whom the process serves; empty while nobody has logged in.
std::string userOf(const std::map<pid_t, std::string>& accounts, pid_t pid, const UserIds& ids) {
  const auto account = accounts.find(pid);
  if (account != accounts.end() && account->second != kNotLoggedIn) return account->second;
  return ids.effective != 0 ? accountName(ids.effective) : std::string();
}

Outcome appendSession(const Sources& sources, const ServedClient& client,
                      const std::map<pid_t, std::string>& accounts,
                      std::vector<Connection>* connections) {
  const auto files = sources.filesOf(*client.process);
  const auto ids = files.ok() ? files->userIds() : Reading<UserIds>::like(files);
  const auto folder = ids.ok() ? files->workingDirectory() : Reading<std::string>::like(ids);
  if (folder.failed()) return Outcome::failure(folder.cause());
  if (!folder.ok()) return Outcome::done();
  std::string user = userOf(accounts, client.process->pid, *ids);
  if (user.empty()) return Outcome::done();
  connections->push_back({.pid = client.process->pid,
                          .time = sources.startText(*client.process),
                          .from = numericText(client.socket.remote),
                          .user = std::move(user),
                          .descr = *folder,
                          .type = ZEVO_CURCONN_FTP});
  return Outcome::done();
}

}  // namespace

std::map<pid_t, std::string> parsePureFtpwho(std::string_view output) {
  std::map<pid_t, std::string> accounts;
  std::set<pid_t> repeated;
  while (!output.empty()) {
    const std::size_t length = output.find('\n');
    std::string_view line = output.substr(0, length);
    output.remove_prefix(length == std::string_view::npos ? output.size() : length + 1);
    const std::string digits = takeField(line);
    std::string account = takeField(line);
    pid_t pid = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, pid);
    if (result.ec != std::errc() || result.ptr != end || account.empty()) continue;
    if (!accounts.emplace(pid, std::move(account)).second) repeated.insert(pid);
  }
  for (const pid_t pid : repeated) accounts.erase(pid);
  return accounts;
}

Outcome readPureFtpd(const Sources& sources, const ToolLimits& limits,
                     std::vector<Connection>& connections) {
  std::vector<ServedClient> clients;
  Outcome outcome = readServedClients(sources, isPureFtpd, std::nullopt, &clients);
  if (outcome.failed() || clients.empty()) return outcome;
  const auto accounts = readAccounts(sources, limits);
  for (const ServedClient& client : clients) {
    outcome = appendSession(sources, client, accounts, &connections);
    if (outcome.failed()) break;
  }
  return outcome;
}

}  // namespace zevo::connections
