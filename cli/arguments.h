// Parses the command line.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "cli/commands/disable.h"
#include "cli/commands/enable.h"
#include "cli/commands/kick.h"
#include "cli/commands/listing.h"
#include "cli/commands/login_link.h"
#include "cli/commands/report.h"

namespace cli {

// What is to be done.
struct Command {
  std::string name;                       // as typed
  std::optional<std::string> configFile;  // nothing: the default file
  std::variant<Listing, Kick, Disable, Enable, ShowDisabled, Report, LoginLink> request;
};

struct Parsed {
  enum class Kind {
    kRun,    // do `command`
    kShow,   // print `text`, a help or the version, and exit
    kWrong,  // `text` says what is wrong
  };
  Kind kind = Kind::kWrong;
  Command command;
  std::string text;
};

Parsed parseArguments(int argc, const char* const* argv);

}  // namespace cli
