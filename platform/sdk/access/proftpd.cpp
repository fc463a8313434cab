#include <algorithm>
#include <array>
#include <filesystem>
#include <glob.h>
#include <set>
#include <system_error>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kProftpd = "proftpd";
constexpr const char* kProftpdTitle = "proftpd: (accepting connections)";
constexpr const char* kProftpdFile = "/etc/proftpd/proftpd.conf";
constexpr int kDeepestProftpdInclude = 8;
constexpr const char* kPamModule = "mod_auth_pam.c";
constexpr const char* kUnixModule = "mod_auth_unix.c";

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
  bool isPamFinal = false;         // mod_auth_pam.c* : no other module is asked after PAM refuses
  bool hasVirtualHosts = false;    // in which the order and other settings may differ
  bool isPamOff = false;
  std::vector<std::string> pam;                                 // services
  std::vector<std::pair<std::string, std::string>> otherUsers;  // directive and module
  std::set<std::string> ports;
  std::set<std::string> anonymous;  // accounts of users who log in without one
  std::string keys;                 // directive for logins with a key over SSH; "" if there is none
  std::string certificates;         // the same for certificates over TLS
};

// All in the directory at `path`, in the order in which ProFTPD reads them.
std::vector<std::string> filesIn(const std::string& path) {
  std::vector<std::string> files;
  std::error_code failed;
  for (std::filesystem::directory_iterator entry(path, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) files.push_back(entry->path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The files that match `pattern`, as absolute paths of the server.
std::vector<std::string> matching(const Server& server, const std::string& pattern) {
  std::vector<std::string> files;
  std::error_code ignored;
  glob_t found{};
  if (::glob(server.path(pattern).c_str(), 0, nullptr, &found) == 0) {
    for (std::size_t i = 0; i < found.gl_pathc; ++i) {
      const std::string path = found.gl_pathv[i];
      const bool isFolder = std::filesystem::is_directory(path, ignored);
      const auto inFolder = isFolder ? filesIn(path) : std::vector<std::string>{path};
      for (const std::string& file : inFolder) files.push_back(file.substr(server.path("").size()));
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
    const std::vector<std::string> lines = trimmedLines(*text);
    return std::all_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return take(wordsOf(line), depth); });
  }

  [[nodiscard]] const ProftpdSettings& settings() const { return settings_; }
  [[nodiscard]] const std::string& cause() const { return cause_; }

 private:
  struct Section {
    std::string user;
    bool asksPassword = false;
  };

  bool take(const std::vector<std::string>& words, int depth) {
    if (words.empty()) return true;
    const std::string name = lowered(words.front());
    if (name == "<virtualhost") settings_.hasVirtualHosts = true;
    if (name == "</anonymous>") leaveAnonymous();
    if (words.size() < 2) return true;
    const std::string value = unquoted(words[1]);
    if (name == "include") return include(value, depth);
    if (name == "authorder") takeOrder(words);
    if (name == "authpam") settings_.isPamOff = lowered(value) == "off";
    if (name == "authpamconfig") settings_.pam.push_back(value);
    if (name == "port") settings_.ports.insert(value);
    takeKeys(words, name);
    takeAnonymous(name, value);
    for (const auto& [directive, module] : kOtherUsers) {
      if (name == directive && lowered(value) != "off") {
        settings_.otherUsers.emplace_back(words.front(), module);
      }
    }
    return true;
  }

  // Directives that let a client in without a password.
  void takeKeys(const std::vector<std::string>& words, const std::string& name) {
    const bool hasDotLogin = std::any_of(words.begin(), words.end(), [](const std::string& word) {
      return lowered(unquoted(word)) == "allowdotlogin";
    });
    if (name == "sftpauthorizeduserkeys" || name == "sftpauthorizedhostkeys") {
      settings_.keys = words.front();
    }
    if (name == "tlsusername") settings_.certificates = words.front();
    if (name == "tlsoptions" && hasDotLogin) settings_.certificates = "AllowDotLogin";
  }

  // Between <Anonymous> and its end.
  void takeAnonymous(const std::string& name, const std::string& value) {
    if (name == "<anonymous") section_ = Section();
    if (section_ && name == "user") section_->user = value;
    if (section_ && name == "anonrequirepassword") section_->asksPassword = lowered(value) != "off";
  }

  void leaveAnonymous() {
    // Its password, where it is asked for, is checked as in other logins.
    if (section_ && !section_->asksPassword) settings_.anonymous.insert(section_->user);
    section_.reset();
  }

  void takeOrder(const std::vector<std::string>& words) {
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
      std::string module = unquoted(*word);
      const bool isFinal = std::erase(module, '*') > 0;
      if (module == kPamModule) settings_.isPamFinal = isFinal;
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
  std::optional<Section> section_;  // of anonymous users
  std::string cause_;
};

// A server without a port of its own has the usual one.
std::set<std::string> portsOf(const ProftpdSettings& settings) {
  std::set<std::string> ports = settings.ports;
  if (ports.empty() || settings.hasVirtualHosts) ports.insert("21");
  return ports;
}

bool isAsked(const ProftpdSettings& settings, std::string_view module) {
  const std::vector<std::string>& order = settings.order;
  return order.empty() || settings.hasVirtualHosts ||
         std::find(order.begin(), order.end(), module) != order.end();
}

// The value of a line NAME=value of os-release(5); empty if there is none.
std::string systemsValue(const Server& server, const std::string& name) {
  std::string cause;
  auto text = server.read("/etc/os-release", &cause);
  if (!text) text = server.read("/usr/lib/os-release", &cause);
  for (const std::string& line : trimmedLines(text.value_or(""))) {
    if (line.starts_with(name + "=")) return unquoted(line.substr(name.size() + 1));
  }
  return {};
}

// What mod_auth_unix.c does with an expired account. Its check of the expiry is left out if the
// machine that built it had no /etc/shadow, as in Debian 13's package. The program does not show
// this, so the answer is known only for systems whose package is known.
ServiceAccess judgeOwnCheck(const Server& server) {
  const bool isDebian = systemsValue(server, "ID") == "debian";
  const std::string release = isDebian ? systemsValue(server, "VERSION_ID") : std::string();
  if (release == "12") return refused(kProftpd, "own-check");
  if (release == "13") {
    return {kProftpd, Access::kLetIn, "expiry-ignored", "ask-pam-alone", {{"cause", kUnixModule}}};
  }
  return unknown(kProftpd, "other-check", "try-login", kUnixModule);
}

std::vector<ServiceAccess> judgePam(const Server& server, const ProftpdSettings& settings) {
  if (settings.pam.empty()) return {server.askPam(kProftpd, kProftpd)};
  std::vector<ServiceAccess> services;
  for (const std::string& pam : settings.pam) services.push_back(server.askPam(kProftpd, pam));
  return {worstOf(services)};
}

// What PAM and mod_auth_unix.c together do with an expired account: one result if that is known,
// otherwise the result of each; none if neither is asked.
std::vector<ServiceAccess> judgeSystemsAccounts(const Server& server,
                                                const ProftpdSettings& settings) {
  std::vector<ServiceAccess> checks;
  const bool isPamAsked =
      isAsked(settings, kPamModule) && (!settings.isPamOff || settings.hasVirtualHosts);
  if (isPamAsked) checks = judgePam(server, settings);
  const bool isPamFinal = isPamAsked && settings.isPamFinal && !settings.hasVirtualHosts;
  if (isPamFinal || !isAsked(settings, kUnixModule)) return checks;
  checks.push_back(judgeOwnCheck(server));
  // PAM is asked first, whatever its place in the order. A user accepted by PAM is logged in; one
  // refused by PAM is checked again.
  return settings.hasVirtualHosts ? checks : std::vector<ServiceAccess>{worstOf(checks)};
}

// What logins without a password do with an expired account; nothing if there are none. PAM is not
// asked about them: with a key over SSH only mod_auth_unix.c's check counts, with a certificate
// over TLS none. Whether the account has either is not known.
std::optional<ServiceAccess> judgeKeys(const Server& server, const ProftpdSettings& settings) {
  const bool areKeysChecked = judgeOwnCheck(server).access == Access::kRefused;
  std::string cause = settings.certificates;
  if (cause.empty() && !areKeysChecked) cause = settings.keys;
  if (cause.empty()) return std::nullopt;
  return unknown(kProftpd, "keys-unchecked", "remove-keys", cause);
}

ServiceAccess judgePasswords(const Server& server, const ProftpdSettings& settings) {
  std::vector<ServiceAccess> checks = judgeSystemsAccounts(server, settings);
  for (const auto& [directive, module] : settings.otherUsers) {
    if (!isAsked(settings, module)) continue;
    checks.push_back(unknown(kProftpd, "own-users", "remove-own-user", directive));
  }
  if (checks.empty()) return unknown(kProftpd, "other-check", "try-login", "AuthOrder");
  return agreed(checks);
}

}  // namespace

std::optional<ServiceAccess> proftpdAccess(const Server& server, const std::string& account) {
  if (!server.has("/usr/sbin/proftpd") && !server.runs(kProftpd)) return std::nullopt;
  // A running server shows a title instead of its arguments, so another file would not be visible.
  ProftpdReader reader(server);
  if (!reader.read(kProftpdFile, 0)) return notRead(kProftpd, reader.cause());
  const std::string doubt =
      server.doubtOf(kProftpd, kProftpdTitle, kProftpdFile, portsOf(reader.settings()));
  if (!doubt.empty()) return notRead(kProftpd, doubt);
  if (reader.settings().anonymous.contains(account)) return anonymous(kProftpd, "<Anonymous>");
  std::vector<ServiceAccess> logins = {judgePasswords(server, reader.settings())};
  if (const auto keys = judgeKeys(server, reader.settings())) logins.push_back(*keys);
  return worstOf(logins);
}

}  // namespace zevo::access
