// The configuration of the platform and its hosts. The module has none.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "zevo/export.h"

namespace zevo {

// Every value has a default, so an absent file is a valid one.
struct Config {
  std::string language;  // "" : the locale's
  std::string sessionFile = "/run/currentconn/sessions";
  std::chrono::minutes idleLimit{15};  // of a web login
  std::chrono::hours loginLimit{12};   // a web login ends this long after it began
  std::chrono::seconds toolLimit{10};  // how long a service's own tool may take
  std::string smbstatus = "/usr/bin/smbstatus";
  std::string pdbedit = "/usr/bin/pdbedit";
  std::string stateFolder = "/var/lib/currentconn";  // state that survives restarts
  std::string listFolder = "/run/currentconn/list";  // of the list that concurrent calls share
  std::string administratorsGroup;  // "" : the first of administrators, sudo, wheel that exists
  int minAdmins = 1;                // valid administrators that must remain after an account write
  // Only for the daemon.
  std::string webSocket = "/run/currentconn/web.sock";
  std::string webGroup = "www-data";  // of the web server
  std::string localSocket = "/run/currentconn/local.sock";
  bool rootPasswordLogin = false;  // whether root may also log in to the page by password
  std::string moduleFolder;        // "" : `modules` beside the program's directory
  std::string pamFolder;           // "" : the system's directories of PAM services
  int maxCalls = 64;               // calls at once
  std::chrono::seconds callLimit{180};

  bool operator==(const Config&) const = default;
};

inline constexpr const char* kDefaultConfigPath = "/etc/currentconn/currentconn.toml";

// Loads the file at `path` as the configuration of the process. Hosts call it once, before they
// load a module. A missing file is an error only if `required`; otherwise the defaults apply.
// Returns false, with file, line and reason in `*error`, and changes nothing if the file cannot be
// read, has an unknown key, or a value of a wrong type or range; with effective uid 0 also if users
// other than root can write the file.
ZEVO_EXPORT bool loadConfig(const std::string& path, bool required, std::string* error);

// The configuration of the process: the defaults until loadConfig succeeds.
ZEVO_EXPORT const Config& config();

// `reason`, why the value of `key` cannot be used, preceded by its location: "FILE:LINE: reason".
// If the key has its default, only `reason`.
ZEVO_EXPORT std::string configProblem(std::string_view key, const std::string& reason);

}  // namespace zevo
