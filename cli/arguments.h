// The command line, read.
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
  std::optional<std::string> configFile;  // nothing: the usual place
  std::variant<Listing, Kick, Disable, Enable, ShowDisabled, Report, LoginLink> request;
};

struct Parsed {
  enum class Kind {
    kRun,    // do `command`
    kShow,   // write `text`, a help or the version, and be done
    kWrong,  // `text` is a sentence on what was wrong
  };
  Kind kind = Kind::kWrong;
  Command command;
  std::string text;
};

Parsed parseArguments(int argc, const char* const* argv);

}  // namespace cli
