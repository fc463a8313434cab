// The configuration of platform and hosts. The module has none.
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
  std::chrono::hours loginLimit{12};   // a web login ends so long after it began, however used
  std::chrono::seconds toolLimit{10};  // how long a service's own tool may take
  std::string smbstatus = "/usr/bin/smbstatus";
  std::string pdbedit = "/usr/bin/pdbedit";
  std::string stateFolder = "/var/lib/currentconn";  // what is kept over restarts
  std::string listFolder = "/run/currentconn/list";  // of the list that calls share for a moment
  std::string administratorsGroup;  // "" : the first of administrators, sudo, wheel that exists
  int minAdmins = 1;                // valid administrators that an account write leaves
  // The daemon's alone.
  std::string webSocket = "/run/currentconn/web.sock";
  std::string webGroup = "www-data";  // of the web server
  std::string localSocket = "/run/currentconn/local.sock";
  bool rootPasswordLogin = false;  // whether root logs in to the page by password too
  std::string moduleFolder;        // "" : `modules` beside the folder of the program
  std::string pamFolder;           // "" : the system's folders of PAM services
  int maxCalls = 64;               // calls at once
  std::chrono::seconds callLimit{180};

  bool operator==(const Config&) const = default;
};

inline constexpr const char* kDefaultConfigPath = "/etc/currentconn/currentconn.toml";

// Makes the file at `path` the process's configuration. Hosts call it once, before they load a
// module. A missing file is an error only where `required`; it leaves the defaults. Returns false
// with `*error` naming file, line and reason, and changes nothing, where the file cannot be read,
// an unknown key stands in it, or a value has the wrong type or range; with effective uid 0 also
// where others than root could have written the file.
ZEVO_EXPORT bool loadConfig(const std::string& path, bool required, std::string* error);

// The process's configuration: the defaults until loadConfig succeeds.
ZEVO_EXPORT const Config& config();

// `reason`, why the value of `key` cannot be used, after the place where it is set:
// "FILE:LINE: reason". Where the key has its default there is no such place, and `reason` is all.
ZEVO_EXPORT std::string configProblem(std::string_view key, const std::string& reason);

}  // namespace zevo
