// The daemon: serves the API's modules to the web server and to the command line.
#include <exception>
#include <iostream>
#include <optional>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "base/proc_pids.h"
#include "calls/call.h"
#include "calls/log.h"
#include "calls/system_service.h"
#include "daemon/journal.h"
#include "daemon/server.h"
#include "daemon/start_checks.h"
#include "host/config.h"
#include "host/config_check.h"

namespace currentconnd {
namespace {

constexpr const char* kNoPamService =
    "there is no PAM service \"currentconn\": install /etc/pam.d/currentconn, or logins to the "
    "page follow the rules of the service \"other\"";

int fail(const std::string& reason) {
  std::cerr << "currentconnd: " << reason << '\n';
  return 1;
}

// Runs until told to end; returns the exit status.
int serve() {
  std::string error;
  std::string key;
  if (!prepareSessionFile(&key, &error) || !checkPamFolder(&error)) return fail(error);
  if (zevo::config().pamFolder.empty() && !hasPamService())
    calls::logLine(LOG_WARNING, kNoPamService);
  calls::SystemService system(static_cast<std::size_t>(zevo::config().maxCalls), std::move(key));
  if (!system.loadModules(zevo::config().moduleFolder, &error))
    return fail(zevo::configProblem("module_folder", error));
  std::vector<Listener> listeners;
  if (!openListeners(&listeners, &error)) return fail(error);
  Server server(
      std::move(listeners), system.scoreboard(), {.call = zevo::config().callLimit},
      [&system](int connection, calls::SocketKind socketKind, uid_t peer, calls::CallSlot& slot) {
        calls::serveConnection(connection, socketKind, peer, system.service(), slot);
      });
  server.run(
      [] {
        calls::logLine(LOG_INFO, "ready");
        ::sd_notify(0, "READY=1");
      },
      [] { ::sd_notify(0, "STOPPING=1"); });
  calls::logLine(LOG_INFO, "ended");
  return 0;
}

}  // namespace
}  // namespace currentconnd

int main(int argc, char** argv) try {
  CLI::App app("Serves the current connections of this server to its web server and command line.",
               "currentconnd");
  std::string configPath;
  app.add_option("--config", configPath,
                 std::string("configuration to use instead of ") + zevo::kDefaultConfigPath);
  app.set_version_flag("--version", std::string("currentconnd ") + CURRENTCONN_VERSION);
  CLI11_PARSE(app, argc, argv);
  const bool given = !configPath.empty();
  std::string error;
  if (!zevo::loadConfig(given ? configPath : zevo::kDefaultConfigPath, given, &error) ||
      !zevo::checkConfig(&error)) {
    return currentconnd::fail(error);
  }
  if (::geteuid() != 0) {
    return currentconnd::fail("it reads other users' connections and needs root: run it as root");
  }
  if (const auto foreign = zevo::foreignPids()) return currentconnd::fail(*foreign);
  ::umask(0077);
  calls::openLog("currentconnd", calls::LogTo::kStandardError, currentconnd::writeToJournal);
  return currentconnd::serve();
} catch (const std::exception& failure) {
  return currentconnd::fail(failure.what());
}
