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

bool isOn(const Settings& settings, const std::string& name) {
  const auto found = settings.find(name);
  if (found == settings.end()) return false;
  const std::string value = lowered(found->second);
  return value == "yes" || value == "true" || value == "1";
}

ServiceAccess judgeSettings(const Server& server, const Settings& settings,
                            const std::string& file) {
  const bool hasGuests = isOn(settings, "guest_enable");
  if (!isOn(settings, "local_enable") && !hasGuests) {
    ServiceAccess result = refused(kVsftpd, "no-local-logins");
    result.values["file"] = file;
    return result;
  }
  const auto pam = settings.find("pam_service_name");
  ServiceAccess result = server.askPam(kVsftpd, pam != settings.end() ? pam->second : "ftp");
  // Users of another database have their own rules; it is not known whether this one is among them.
  if (hasGuests && result.access == Access::kLetIn) {
    return unknown(kVsftpd, "own-users", "remove-own-user", "guest_enable in " + file);
  }
  return result;
}

// `words`: the visible arguments of a server.
ServiceAccess judgeArguments(const Server& server, const std::vector<std::string>& words) {
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
  return judgeSettings(server, settings, file);
}

// A server that shows titles instead of its arguments. It uses the default file if that enables
// titles, and nothing tells that there is another one.
ServiceAccess judgeTitled(const Server& server) {
  std::string cause;
  const auto text = server.read(kVsftpdFile, &cause);
  if (!text) return notRead(kVsftpd, cause);
  Settings settings;
  readSettings(*text, &settings);
  if (!isOn(settings, "setproctitle_enable")) {
    return notRead(kVsftpd, std::string("it does not use ") + kVsftpdFile);
  }
  const auto port = settings.find("listen_port");
  const std::string doubt = server.doubtOf(kVsftpd, "vsftpd: LISTENER", kVsftpdFile,
                                           {port == settings.end() ? "21" : port->second});
  if (!doubt.empty()) return notRead(kVsftpd, doubt);
  return judgeSettings(server, settings, kVsftpdFile);
}

}  // namespace

std::optional<ServiceAccess> vsftpdAccess(const Server& server) {
  std::vector<ServiceAccess> all;
  for (const std::string& title : server.titles(kVsftpd)) {
    const bool isTitled = title.starts_with("vsftpd: ");
    all.push_back(isTitled ? judgeTitled(server) : judgeArguments(server, wordsOf(title)));
  }
  if (!all.empty()) return worstOf(all);
  if (!server.has("/usr/sbin/vsftpd")) return std::nullopt;
  return judgeArguments(server, {kVsftpd});
}

}  // namespace zevo::access
