#include <algorithm>
#include <array>
#include <glob.h>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kProftpd = "proftpd";
constexpr const char* kProftpdFile = "/etc/proftpd/proftpd.conf";
constexpr int kDeepestProftpdInclude = 8;

// Directives for users from another source, and the modules that read them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kOtherUsers = {
    {{"authuserfile", "mod_auth_file.c"},
     {"sqlconnectinfo", "mod_sql.c"},
     {"ldapserver", "mod_ldap.c"},
     {"radiusauthserver", "mod_radius.c"},
     {"radiusengine", "mod_radius.c"}}};

// The settings of the files, wherever they occur.
struct ProftpdSettings {
  std::vector<std::string> order;  // modules of AuthOrder
  bool hasVirtualHosts = false;    // in which the order and other settings may differ
  bool isPamOff = false;
  std::vector<std::string> pam;                                 // services
  std::vector<std::pair<std::string, std::string>> otherUsers;  // directive and module
};

// The files that match `pattern`, as absolute paths of the server.
std::vector<std::string> matching(const Server& server, const std::string& pattern) {
  std::vector<std::string> files;
  glob_t found{};
  if (::glob(server.path(pattern).c_str(), 0, nullptr, &found) == 0) {
    for (std::size_t i = 0; i < found.gl_pathc; ++i) {
      files.emplace_back(std::string(found.gl_pathv[i]).substr(server.path("").size()));
    }
  }
  ::globfree(&found);
  return files;
}

std::string unquoted(std::string word) {
  std::erase(word, '"');
  return word;
}

class ProftpdReader {
 public:
  explicit ProftpdReader(const Server& server) : server_(server) {}

  // False, with the cause stored, if a file cannot be read.
  bool read(const std::string& file, int depth) {
    if (depth > kDeepestProftpdInclude) {
      cause_ = file + " is included too deeply";
      return false;
    }
    const auto text = server_.read(file, &cause_);
    if (!text) return false;
    const std::vector<std::string> lines = linesOf(*text);
    return std::all_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return take(wordsOf(line), depth); });
  }

  [[nodiscard]] const ProftpdSettings& settings() const { return settings_; }
  [[nodiscard]] const std::string& cause() const { return cause_; }

 private:
  bool take(const std::vector<std::string>& words, int depth) {
    if (words.empty()) return true;
    const std::string name = lowered(words.front());
    if (name == "<virtualhost") settings_.hasVirtualHosts = true;
    if (words.size() < 2) return true;
    const std::string value = unquoted(words[1]);
    if (name == "include") return include(value, depth);
    if (name == "authorder") takeOrder(words);
    if (name == "authpam") settings_.isPamOff = lowered(value) == "off";
    if (name == "authpamconfig") settings_.pam.push_back(value);
    for (const auto& [directive, module] : kOtherUsers) {
      if (name == directive && lowered(value) != "off") {
        settings_.otherUsers.emplace_back(words.front(), module);
      }
    }
    return true;
  }

  void takeOrder(const std::vector<std::string>& words) {
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
      std::string module = unquoted(*word);
      std::erase(module, '*');
      settings_.order.push_back(module);
    }
  }

  bool include(const std::string& pattern, int depth) {
    const std::vector<std::string> files = matching(server_, pattern);
    return std::all_of(files.begin(), files.end(),
                       [&](const std::string& file) { return read(file, depth + 1); });
  }

  const Server& server_;
  ProftpdSettings settings_;
  std::string cause_;
};

std::size_t placeIn(const std::vector<std::string>& order, std::string_view module) {
  return static_cast<std::size_t>(std::find(order.begin(), order.end(), module) - order.begin());
}

ServiceAccess judgeSettings(const Server& server, const ProftpdSettings& settings) {
  const auto isAsked = [&](std::string_view module) {
    return settings.order.empty() || settings.hasVirtualHosts ||
           placeIn(settings.order, module) < settings.order.size();
  };
  std::vector<ServiceAccess> checks;
  if (isAsked("mod_auth_pam.c") && (!settings.isPamOff || settings.hasVirtualHosts)) {
    std::vector<ServiceAccess> services;
    for (const std::string& pam : settings.pam) services.push_back(server.askPam(kProftpd, pam));
    checks.push_back(services.empty() ? server.askPam(kProftpd, kProftpd) : worstOf(services));
  }
  // A user accepted by PAM is logged in; a user refused by PAM is refused by the other check too.
  const bool isPamFirst =
      !checks.empty() && !settings.hasVirtualHosts &&
      placeIn(settings.order, "mod_auth_pam.c") <= placeIn(settings.order, "mod_auth_unix.c");
  if (isAsked("mod_auth_unix.c") && !isPamFirst) checks.push_back(refused(kProftpd, "own-check"));
  for (const auto& [directive, module] : settings.otherUsers) {
    if (!isAsked(module)) continue;
    checks.push_back(unknown(kProftpd, "own-users", "remove-own-user", directive));
  }
  if (checks.empty()) return unknown(kProftpd, "other-check", "try-login", "AuthOrder");
  return agreed(checks);
}

}  // namespace

std::optional<ServiceAccess> proftpdAccess(const Server& server) {
  if (!server.has("/usr/sbin/proftpd") && !server.runs(kProftpd)) return std::nullopt;
  // A running server shows a title instead of its arguments, so another file would not be visible.
  ProftpdReader reader(server);
  if (!reader.read(kProftpdFile, 0)) return notRead(kProftpd, reader.cause());
  return judgeSettings(server, reader.settings());
}

}  // namespace zevo::access
