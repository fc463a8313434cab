// Describes what a list may lack.
#pragma once

#include <string>
#include <vector>

#include "zevo/read_notes.h"

namespace cli {

// A sentence for each warning, without a full stop.
std::vector<std::string> warningLines(const std::vector<zevo::ReadNote>& warnings);

// Writes them to standard error, in one line.
void complainOfWarnings(const std::vector<zevo::ReadNote>& warnings);

// Reports `doubt` with the warnings as reasons.
void complainOfDoubt(const std::string& doubt, const std::vector<zevo::ReadNote>& warnings);

// The warnings about disabled accounts that are still let in.
std::vector<zevo::ReadNote> stillLetIn(const std::vector<zevo::ReadNote>& warnings);

// The warnings about connections over the service `type`.
std::vector<zevo::ReadNote> warningsAbout(const std::vector<zevo::ReadNote>& warnings,
                                          const std::string& type);

// Whether the list may lack connections at all.
bool mayLack(const std::vector<zevo::ReadNote>& warnings);

}  // namespace cli
