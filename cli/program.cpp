#include "program.h"

#include <cstdlib>
#include <pwd.h>
#include <string>
#include <unistd.h>

#include "zevo/config.h"

#include "arguments.h"
#include "exit_code.h"
#include "module_backend.h"
#include "output.h"
#include "show_listing.h"
#include "terminal.h"
#include "watch.h"

namespace cli {
namespace {

ExitCode refuse(ExitCode code, const std::string& sentence) {
  complain(sentence);
  return code;
}

ExitCode print(const std::string& text) {
  std::string cause;
  if (writeAll(STDOUT_FILENO, text, &cause) != Written::kFailed) return kExitDone;
  return refuse(kExitFailed, "cannot write to standard output: " + cause);
}

// What the caller would have to type. As root "mine" means root, so there the name is needed.
std::string commandAsRoot(const Command& command) {
  std::string words = "sudo currentconn " + command.name;
  if (command.name != "mine") return words;
  const passwd* account = getpwuid(getuid());
  return account ? words + " --user " + account->pw_name : words;
}

ExitCode runCommand(const Command& command) {
  const Listing& listing = command.listing;
  if (listing.watch && isatty(STDOUT_FILENO) != 1) {
    return refuse(kExitUsage, "--watch needs a terminal, standard output is none: leave it out");
  }
  if (listing.watch && !movesCursor(std::getenv("TERM"))) {
    return refuse(kExitUsage, "--watch needs a terminal that can move its cursor: set TERM");
  }
  if (geteuid() != 0) {
    return refuse(kExitNotAdministrator,
                  "reading who is connected needs root: run '" + commandAsRoot(command) + "'");
  }
  std::string sentence;
  const std::string configFile = command.configFile.value_or(zevo::kDefaultConfigPath);
  if (!zevo::loadConfig(configFile, command.configFile.has_value(), &sentence)) {
    return refuse(kExitUsage, sentence);
  }
  const std::string module = modulePathOfProgram(&sentence);
  if (module.empty()) return refuse(kExitFailed, sentence);
  const Caller caller = listing.user ? Caller{*listing.user, false} : Caller{kNameOfRoot, true};
  ModuleBackend backend(module, zevo::config().sessionFile, caller);
  return listing.watch ? watch(listing, backend) : showListing(listing, backend);
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
  occupyStandardDescriptors();
  const Parsed parsed = parseArguments(argc, argv);
  switch (parsed.kind) {
    case Parsed::Kind::kShow:
      return print(parsed.text);
    case Parsed::Kind::kWrong:
      return refuse(kExitUsage, parsed.text);
    case Parsed::Kind::kRun:
      break;
  }
  return runCommand(parsed.command);
}

}  // namespace cli
