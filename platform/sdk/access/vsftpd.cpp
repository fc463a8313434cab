#include <map>
#include <set>

#include "sdk/access/services.h"
#include "sdk/access/words.h"

namespace zevo::access {
namespace {

constexpr const char* kVsftpd = "vsftpd";
constexpr const char* kVsftpdFile = "/etc/vsftpd.conf";

using Settings = std::map<std::string, std::string>;

// Lines "name=value"; the last one counts.
void readSettings(const std::string& text, Settings* settings) {
  for (const std::string& line : trimmedLines(text)) {
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string::npos) continue;
    (*settings)[line.substr(0, equals)] = line.substr(equals + 1);
  }
}

std::string valueOf(const Settings& settings, const std::string& name,
                    const std::string& otherwise) {
  const auto found = settings.find(name);
  return found == settings.end() ? otherwise : found->second;
}

bool isOn(const Settings& settings, const std::string& name, const std::string& otherwise = "no") {
  const std::string value = lowered(valueOf(settings, name, otherwise));
  return value == "yes" || value == "true" || value == "1";
}

ServiceAccess judgeSettings(const Server& server, const std::string& account,
                            const Settings& settings, const std::string& file) {
  // PAM is not asked about anonymous users. Without a line they are let in.
  if (isOn(settings, "anonymous_enable", "yes") &&
      account == valueOf(settings, "ftp_username", "ftp")) {
    return anonymous(kVsftpd, "anonymous_enable in " + file);
  }
  const bool hasGuests = isOn(settings, "guest_enable");
  if (!isOn(settings, "local_enable") && !hasGuests) {
    ServiceAccess result = refused(kVsftpd, "no-local-logins");
    result.values["file"] = file;
    return result;
  }
  ServiceAccess result = server.askPam(kVsftpd, valueOf(settings, "pam_service_name", "ftp"));
  // Users of another database have their own rules; it is not known whether this one is among them.
  if (hasGuests && result.access == Access::kLetIn) {
    return unknown(kVsftpd, "own-users", "remove-own-user", "guest_enable in " + file);
  }
  return result;
}

// `words`: the visible arguments of a server.
ServiceAccess judgeArguments(const Server& server, const std::string& account,
                             const std::vector<std::string>& words) {
  Settings settings;
  std::string file = kVsftpdFile;
  std::vector<std::string> files(words.begin() + 1, words.end());
  if (files.empty()) files.push_back(file);
  for (const std::string& argument : files) {
    if (!argument.starts_with('/')) return notRead(kVsftpd, "it was started with " + argument);
    std::string cause;
    const auto text = server.read(argument, &cause);
    if (!text) return notRead(kVsftpd, cause);
    readSettings(*text, &settings);
    file = argument;
  }
  return judgeSettings(server, account, settings, file);
}

// A server that shows titles instead of its arguments. It uses the default file if that enables
// titles, and nothing tells that there is another one.
ServiceAccess judgeTitled(const Server& server, const std::string& account) {
  std::string cause;
  const auto text = server.read(kVsftpdFile, &cause);
  if (!text) return notRead(kVsftpd, cause);
  Settings settings;
  readSettings(*text, &settings);
  if (!isOn(settings, "setproctitle_enable")) {
    return notRead(kVsftpd, std::string("it does not use ") + kVsftpdFile);
  }
  const std::string doubt = server.doubtOf(kVsftpd, "vsftpd: LISTENER", kVsftpdFile,
                                           {valueOf(settings, "listen_port", "21")});
  if (!doubt.empty()) return notRead(kVsftpd, doubt);
  return judgeSettings(server, account, settings, kVsftpdFile);
}

}  // namespace

std::optional<ServiceAccess> vsftpdAccess(const Server& server, const std::string& account) {
  std::vector<ServiceAccess> all;
  for (const std::string& title : server.titles(kVsftpd)) {
    const bool isTitled = title.starts_with("vsftpd: ");
    all.push_back(isTitled ? judgeTitled(server, account)
                           : judgeArguments(server, account, wordsOf(title)));
  }
  if (!all.empty()) return worstOf(all);
  if (!server.has("/usr/sbin/vsftpd")) return std::nullopt;
  return judgeArguments(server, account, {kVsftpd});
}

}  // namespace zevo::access
