#include <algorithm>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kPureFtpd = "pure-ftpd";
constexpr const char* kPureFtpdWrapper = "/usr/sbin/pure-ftpd-wrapper";
constexpr const char* kAnonymousAccount = "ftp";
constexpr const char* kPureFtpdFolder = "/etc/pure-ftpd";

ServiceAccess judgeSource(const Server& server, const std::string& source) {
  if (source == "unix") return refused(kPureFtpd, "own-check");
  if (source == "pam") return server.askPam(kPureFtpd, kPureFtpd);
  return unknown(kPureFtpd, "own-users", "remove-own-user", source);
}

// The port of the option -S ADDRESS,PORT; otherwise the usual one.
std::string portOf(const std::vector<std::string>& options) {
  const auto bind = std::find(options.begin(), options.end(), "-S");
  if (bind == options.end() || bind + 1 == options.end()) return "21";
  const std::size_t comma = (bind + 1)->find(',');
  return comma == std::string::npos ? "21" : (bind + 1)->substr(comma + 1);
}

}  // namespace

std::optional<ServiceAccess> pureFtpdAccess(const Server& server, const std::string& account) {
  if (!server.has("/usr/sbin/pure-ftpd") && !server.runs(kPureFtpd)) return std::nullopt;
  // The server shows no arguments. Debian's start script determines them.
  std::string cause;
  const auto options = server.ask({kPureFtpdWrapper, "--show-options"}, &cause);
  if (!options) return notRead(kPureFtpd, cause);
  const std::vector<std::string> words = wordsOf(*options);
  const std::string doubt =
      server.doubtOf(kPureFtpd, "pure-ftpd (SERVER)", kPureFtpdFolder, {portOf(words)});
  if (!doubt.empty()) return notRead(kPureFtpd, doubt);
  const bool refusesAnonymous = std::find(words.begin(), words.end(), "-E") != words.end();
  if (account == kAnonymousAccount && !refusesAnonymous) return anonymous(kPureFtpd, "NoAnonymous");
  std::vector<ServiceAccess> checks;
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    if (words[i] == "-l") checks.push_back(judgeSource(server, words[i + 1]));
  }
  // Without a source of its own it uses the system's accounts.
  if (checks.empty()) return refused(kPureFtpd, "own-check");
  return agreed(checks);
}

}  // namespace zevo::access
