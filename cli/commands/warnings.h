// What a list may lack, in words.
#pragma once

#include <string>
#include <vector>

#include "zevo/read_notes.h"

namespace cli {

// A sentence for each warning, without a full stop.
std::vector<std::string> warningLines(const std::vector<zevo::ReadNote>& warnings);

// Says them on standard error, in one line.
void complainOfWarnings(const std::vector<zevo::ReadNote>& warnings);

// Says `doubt` with them as its reasons.
void complainOfDoubt(const std::string& doubt, const std::vector<zevo::ReadNote>& warnings);

// Those of `warnings` that tell of accounts that are still let in although they were disabled.
std::vector<zevo::ReadNote> stillLetIn(const std::vector<zevo::ReadNote>& warnings);

// Those of `warnings` that tell of connections over the service `type`.
std::vector<zevo::ReadNote> warningsAbout(const std::vector<zevo::ReadNote>& warnings,
                                          const std::string& type);

// Whether the list may lack connections at all.
bool mayLack(const std::vector<zevo::ReadNote>& warnings);

}  // namespace cli
