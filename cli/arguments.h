// The command line, read.
#pragma once

#include <optional>
#include <string>

#include "listing.h"

namespace cli {

// What is to be done.
struct Command {
  std::string name;                       // "list", "mine"
  std::optional<std::string> configFile;  // nothing: the usual place
  Listing listing;
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
