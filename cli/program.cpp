#include "cli/program.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <variant>

#include <climits>

#include "calls/log.h"
#include "calls/system_service.h"
#include "cli/arguments.h"
#include "cli/client/child_transport.h"
#include "cli/client/daemon_transport.h"
#include "cli/commands/show_listing.h"
#include "cli/commands/watch.h"
#include "cli/exit_code.h"
#include "cli/terminal/output.h"
#include "cli/terminal/table_output.h"
#include "cli/terminal/terminal.h"
#include "cli/terminal/text.h"
#include "host/config.h"
#include "host/config_check.h"

namespace cli {
namespace {

// The time for the daemon's answer beyond the longest call: transfer, and waiting for a place.
constexpr std::chrono::seconds kBeyondCall{20};

ExitCode refuse(ExitCode code, const std::string& sentence) {
  complain(sentence);
  return code;
}

// The account of the caller; empty if the id has no name.
std::string nameOfCaller() {
  const passwd* account = getpwuid(geteuid());
  return account ? account->pw_name : "";
}

// The command that the caller must type. With sudo, "mine" means root, so the name is needed.
std::string commandAsRoot(const Command& command) {
  const std::string words = "sudo currentconn " + command.name;
  const std::string caller = nameOfCaller();
  return command.name == "mine" && !caller.empty() ? words + " --user " + shellWord(caller) : words;
}

// A sentence on why the terminal is unsuitable; empty if it is suitable.
std::string objectionToTerminal(const Command& command) {
  const auto* listing = std::get_if<Listing>(&command.request);
  if (!listing || !listing->watch) return "";
  if (isatty(STDOUT_FILENO) != 1) {
    return "--watch needs a terminal, but standard output is not one: leave it out";
  }
  return movesCursor(std::getenv("TERM"))
             ? ""
             : "--watch needs a terminal that can move its cursor: set TERM";
}

std::string purposeOf(const Command& command) {
  if (std::holds_alternative<Kick>(command.request)) return "ending connections";
  if (std::holds_alternative<Disable>(command.request)) return "disabling accounts";
  if (std::holds_alternative<Enable>(command.request)) return "enabling accounts";
  if (std::holds_alternative<ShowDisabled>(command.request)) return "showing disabled accounts";
  if (std::holds_alternative<LoginLink>(command.request)) return "creating a login link";
  return "reading the connections";
}

// The terminal of standard input, "pts/3"; empty if it is not a terminal.
std::string terminalName() {
  constexpr std::string_view kFolder = "/dev/";
  std::array<char, PATH_MAX> name = {};
  if (ttyname_r(STDIN_FILENO, name.data(), name.size()) != 0) return "";
  const std::string_view path = name.data();
  return std::string(path.starts_with(kFolder) ? path.substr(kFolder.size()) : path);
}

calls::RootsWord wordOfRoot(const Command& command) {
  const char* sudoUser = std::getenv("SUDO_USER");
  const auto* listing = std::get_if<Listing>(&command.request);
  return {listing && listing->user ? *listing->user : "", sudoUser ? sudoUser : "", terminalName()};
}

ExitCode perform(const Listing& listing, Client& client) {
  return listing.watch ? watch(listing, client) : showListing(listing, client);
}
ExitCode perform(const Kick& request, Client& client) {
  return kick(request, client);
}
ExitCode perform(const Disable& request, Client& client) {
  return disable(request, client);
}
ExitCode perform(const Enable& request, Client& client) {
  return enable(request, client);
}
ExitCode perform(const ShowDisabled& request, Client& client) {
  return showDisabled(request, client);
}
ExitCode perform(const Report& request, Client& client) {
  return writeReport(request, client);
}

ExitCode perform(const LoginLink& request, Client& /*client*/) {
  return makeLoginLink(request);
}

// The listing if the daemon serves it to every user, or none.
std::optional<Listing> ownListing(const Command& command) {
  const auto* listing = std::get_if<Listing>(&command.request);
  if (!listing || !listing->isOwn) return {};
  Listing own = *listing;
  own.user = nameOfCaller();
  return own;
}

ExitCode runWithoutRoot(const Command& command) {
  std::string needed = " needs root";
  if (const std::optional<Listing> own = ownListing(command)) {
    const std::chrono::seconds limit = zevo::config().callLimit + kBeyondCall;
    DaemonTransport daemon(zevo::config().localSocket, limit);
    Client client(daemon, {}, limit);
    if (daemon.isThere()) return perform(*own, client);
    needed += ", or currentconnd to be running";
  }
  return refuse(kExitNotAdministrator,
                purposeOf(command) + needed + ": run '" + commandAsRoot(command) + "'");
}

// Root's calls are served by child processes, so that they work without the daemon.
ExitCode runCommand(const Command& command) {
  std::string sentence = objectionToTerminal(command);
  if (!sentence.empty()) return refuse(kExitUsage, sentence);
  const bool isRoot = geteuid() == 0;
  if (!isRoot && !ownListing(command)) return runWithoutRoot(command);
  const std::string configFile = command.configFile.value_or(zevo::kDefaultConfigPath);
  if (!zevo::loadConfig(configFile, command.configFile.has_value(), &sentence) ||
      !zevo::checkConfig(&sentence)) {
    return refuse(kExitUsage, sentence);
  }
  if (!isRoot) return runWithoutRoot(command);
  // No password marks are needed: these calls come only from root.
  calls::SystemService system(1, "");
  if (!system.loadModules("", &sentence)) return refuse(kExitFailed, sentence);
  calls::openLog("currentconn", calls::LogTo::kSystemLog);
  ChildTransport transport(system, zevo::config().callLimit);
  Client client(transport, wordOfRoot(command), zevo::config().callLimit + kBeyondCall);
  return std::visit([&](const auto& request) { return perform(request, client); }, command.request);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  occupyStandardDescriptors();
  const Parsed parsed = parseArguments(argc, argv);
  switch (parsed.kind) {
    case Parsed::Kind::kShow:
      return printText(parsed.text);
    case Parsed::Kind::kWrong:
      return refuse(kExitUsage, parsed.text);
    case Parsed::Kind::kRun:
      break;
  }
  return runCommand(parsed.command);
}

}  // namespace cli
