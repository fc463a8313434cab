// The daemon: serves the API's modules to the web server and to the command line.
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-daemon.h>
#include <thread>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "zevo/config.h"
#include "zevo/config_check.h"

#include "base/proc_pids.h"
#include "call.h"
#include "client_network.h"
#include "log.h"
#include "server.h"
#include "start_checks.h"

namespace host {
namespace {

constexpr const char* kNoPamService =
    "there is no PAM service \"currentconn\": install /etc/pam.d/currentconn, or logins to the "
    "page follow the rules of the service \"other\"";

class SessionFileLogins : public Logins {
 public:
  zevo::LoginSearch find(const std::string& id, zevo::WebLogin* login) override {
    return zevo::findWebLogin(zevo::config().sessionFile, id, login);
  }
  void touch(const std::string& id) override {
    zevo::touchWebLogin(zevo::config().sessionFile, id);
  }
};

LoginTools systemLoginTools(Accounts& accounts, CallBoard& board) {
  const std::string file = zevo::config().sessionFile;
  return {accounts,
          &checkPassword,
          [file](const std::string& token) { return zevo::takeLoginLink(file, token); },
          [file](zevo::WebLogin* login) { return zevo::addWebLogin(file, login); },
          [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); },
          [&board](const std::string& address) { board.noteRefusal(clientOf(address)); },
          [&board](const std::string& address) { board.noteLogin(clientOf(address)); }};
}

std::filesystem::path moduleFolder() {
  const std::string& configured = zevo::config().moduleFolder;
  if (!configured.empty()) return configured;
  std::error_code failure;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
  return program.parent_path().parent_path() / "modules";
}

int fail(const std::string& reason) {
  std::cerr << "currentconnd: " << reason << '\n';
  return 1;
}

// Until it is told to end; the exit status.
int serve() {
  std::string error;
  std::string key;
  if (!prepareSessionFile(&key, &error) || !checkPamFolder(&error)) return fail(error);
  if (zevo::config().pamFolder.empty() && !hasPamService()) logLine(LOG_WARNING, kNoPamService);
  Modules modules;
  if (!modules.load(moduleFolder(), &error)) {
    return fail(zevo::configProblem("module_folder", error));
  }
  std::vector<Listener> listeners;
  if (!openListeners(&listeners, &error)) return fail(error);
  CallBoard board(static_cast<std::size_t>(zevo::config().maxCalls));
  SystemAccounts accounts(std::move(key));
  SessionFileLogins logins;
  const Service service{modules,
                        board,
                        accounts,
                        logins,
                        systemLoginTools(accounts, board),
                        zevo::config().sessionFile};
  Server server(std::move(listeners), board, {.call = zevo::config().callLimit},
                [&service](int connection, Entrance entrance, uid_t peer, CallSlot& slot) {
                  serveConnection(connection, entrance, peer, service, slot);
                });
  server.run(
      [] {
        logLine(LOG_INFO, "ready");
        ::sd_notify(0, "READY=1");
      },
      [] { ::sd_notify(0, "STOPPING=1"); });
  logLine(LOG_INFO, "ended");
  return 0;
}

}  // namespace
}  // namespace host

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
    return host::fail(error);
  }
  if (::geteuid() != 0) {
    return host::fail("it reads other users' connections and needs root: run it as root");
  }
  if (const auto foreign = zevo::foreignPids()) return host::fail(*foreign);
  ::umask(0077);
  host::openLog();
  return host::serve();
} catch (const std::exception& failure) {
  return host::fail(failure.what());
}
