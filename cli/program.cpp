#include "program.h"

#include <cstdlib>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <variant>

#include "zevo/config.h"

#include "arguments.h"
#include "exit_code.h"
#include "module_backend.h"
#include "output.h"
#include "show_listing.h"
#include "table_output.h"
#include "terminal.h"
#include "watch.h"

namespace cli {
namespace {

ExitCode refuse(ExitCode code, const std::string& sentence) {
  complain(sentence);
  return code;
}

// What the caller would have to type. As root "mine" means root, so there the name is needed.
std::string commandAsRoot(const Command& command) {
  std::string words = "sudo currentconn " + command.name;
  if (command.name != "mine") return words;
  const passwd* account = getpwuid(getuid());
  return account ? words + " --user " + account->pw_name : words;
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
ExitCode perform(const Report& request, Backend& backend) {
  return writeReport(request, backend);
}

ExitCode perform(const LoginLink& request, Backend& /*backend*/) {
  return makeLoginLink(request);
}

ExitCode runCommand(const Command& command) {
  std::string sentence = objectionToTerminal(command);
  if (!sentence.empty()) return refuse(kExitUsage, sentence);
  if (geteuid() != 0) {
    return refuse(kExitNotAdministrator,
                  purposeOf(command) + " needs root: run '" + commandAsRoot(command) + "'");
  }
  const std::string configFile = command.configFile.value_or(zevo::kDefaultConfigPath);
  if (!zevo::loadConfig(configFile, command.configFile.has_value(), &sentence)) {
    return refuse(kExitUsage, sentence);
  }
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
