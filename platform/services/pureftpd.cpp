#include "services/pureftpd.h"

#include <cerrno>
#include <optional>
#include <set>
#include <unistd.h>
#include <utility>

#include "base/numbers.h"
#include "base/text.h"
#include "host/service_table.h"
#include "services/containers.h"
#include "services/served_client.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kNotLoggedIn = "?";

// pure-ftpd, or with a database of users a name such as pure-ftpd-mysql.
bool isPureFtpd(std::string_view name) {
  return name.starts_with("pure-ftpd");
}

// Removes the next field from `line` and returns it without escapes.
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

// The accounts reported by Pure-FTPd's own tool; none if it cannot be run.
std::map<pid_t, std::string> readAccounts(const Sources& sources, const ToolLimits& limits) {
  const std::string& tool = sources.paths().pureFtpwho;
  if (::access(tool.c_str(), X_OK) != 0 && errno == ENOENT) return {};
  const ToolResult result = ToolRun({tool, "-s"}, limits).finish();
  if (result.complete) return parsePureFtpwho(result.output);
  sources.note(kDetailsMissing, serviceName(ZEVO_CURCONN_FTP),
               "Pure-FTPd: " + tool + " " + result.cause +
                   "; its virtual users are shown under the accounts of their processes");
  return {};
}

// The user that the process serves; empty while nobody has logged in.
std::string userOf(const Sources& sources, const Process& process,
                   const std::map<pid_t, std::string>& accounts, const UserIds& ids) {
  const auto account = accounts.find(process.pid);
  if (account != accounts.end() && account->second != kNotLoggedIn) return account->second;
  return ids.effective != 0 ? accountOf(sources, process, ids.effective) : std::string();
}

LoginReading readLogin(const Sources& sources, const Process& process,
                       const std::map<pid_t, std::string>& accounts) {
  const auto files = sources.filesOf(process);
  const auto ids = files.and_then(&ProcessFiles::userIds);
  const auto folder = files.and_then(&ProcessFiles::workingDirectory);
  if (!ids || !folder) return errorOf(ids, folder);
  std::string user = userOf(sources, process, accounts, *ids);
  if (user.empty()) return std::optional<Login>();
  return std::optional<Login>({&process, std::move(user), *folder});
}

}  // namespace

std::map<pid_t, std::string> parsePureFtpwho(std::string_view output) {
  std::map<pid_t, std::string> accounts;
  std::set<pid_t> repeated;
  for (std::string_view line : linesOf(output)) {
    const std::string digits = takeField(line);
    std::string account = takeField(line);
    const auto pid = parseNumber<pid_t>(digits);
    if (!pid || account.empty()) continue;
    if (!accounts.emplace(*pid, std::move(account)).second) repeated.insert(*pid);
  }
  for (const pid_t pid : repeated) accounts.erase(pid);
  return accounts;
}

Result<void> readPureFtpd(const Sources& sources, const ToolLimits& limits,
                          std::vector<Connection>& connections) {
  std::optional<std::map<pid_t, std::string>> accounts;  // read at the first client
  const auto login = [&](const Sources&, const ServedClient&, const Process& process) {
    if (!accounts) accounts = readAccounts(sources, limits);
    return readLogin(sources, process, *accounts);
  };
  return readSessions(sources, {ZEVO_CURCONN_FTP, isPureFtpd}, login, connections);
}

}  // namespace zevo::connections
