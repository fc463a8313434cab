#include "program.h"

#include <chrono>
#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <variant>

#include "zevo/config.h"
#include "zevo/config_check.h"
#include "zevo/disabled_accounts.h"

#include "arguments.h"
#include "daemon_backend.h"
#include "enforcement_log.h"
#include "exit_code.h"
#include "module_backend.h"
#include "output.h"
#include "show_listing.h"
#include "table_output.h"
#include "terminal.h"
#include "watch.h"

namespace cli {
namespace {

// What the daemon's answer may take beyond the longest call: its way there and back, and a place.
constexpr std::chrono::seconds kBeyondCall{20};

ExitCode refuse(ExitCode code, const std::string& sentence) {
  complain(sentence);
  return code;
}

// The account of the caller; empty where the number has no name.
std::string nameOfCaller() {
  const passwd* account = getpwuid(geteuid());
  return account ? account->pw_name : "";
}

// What the caller would have to type. As root "mine" means root, so there the name is needed.
std::string commandAsRoot(const Command& command) {
  const std::string words = "sudo currentconn " + command.name;
  const std::string caller = nameOfCaller();
  return command.name == "mine" && !caller.empty() ? words + " --user " + caller : words;
}

// A sentence on why the terminal does not do; empty where it does.
std::string objectionToTerminal(const Command& command) {
  const auto* listing = std::get_if<Listing>(&command.request);
  if (!listing || !listing->watch) return "";
  if (isatty(STDOUT_FILENO) != 1) {
    return "--watch needs a terminal, standard output is none: leave it out";
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
  if (std::holds_alternative<LoginLink>(command.request)) return "making a link that logs in";
  return "reading who is connected";
}

Caller callerFor(const Command& command) {
  const auto* listing = std::get_if<Listing>(&command.request);
  if (listing && listing->user) return {*listing->user, false};
  return {kNameOfRoot, true};
}

ExitCode perform(const Listing& listing, Backend& backend) {
  return listing.watch ? watch(listing, backend) : showListing(listing, backend);
}
ExitCode perform(const Kick& request, Backend& backend) {
  return kick(request, backend);
}
ExitCode perform(const Disable& request, Backend& backend) {
  return disable(request, backend);
}
ExitCode perform(const Enable& request, Backend& /*backend*/) {
  return enable(request);
}
ExitCode perform(const ShowDisabled& request, Backend& /*backend*/) {
  return showDisabled(request);
}
ExitCode perform(const Report& request, Backend& backend) {
  return writeReport(request, backend);
}

ExitCode perform(const LoginLink& request, Backend& /*backend*/) {
  return makeLoginLink(request);
}

// The listing that the daemon shows to everybody, or none.
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
    DaemonBackend backend(zevo::config().localSocket, zevo::config().callLimit + kBeyondCall);
    if (backend.isThere()) return perform(*own, backend);
    needed += ", or currentconnd to be running";
  }
  return refuse(kExitNotAdministrator,
                purposeOf(command) + needed + ": run '" + commandAsRoot(command) + "'");
}

// Root's calls are made in this process: its line in the authorisation log says who became root and
// at which terminal, and it works while the daemon does not.
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
  const Asker asker = askerOf(kNameOfRoot);
  zevo::setActor({asker.sudoUser.empty() ? "root" : asker.sudoUser, asker.terminal});
  const std::string module = modulePathOfProgram(&sentence);
  if (module.empty()) return refuse(kExitFailed, sentence);
  ModuleBackend backend(module, zevo::config().sessionFile, callerFor(command));
  return std::visit([&](const auto& request) { return perform(request, backend); },
                    command.request);
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
