// The journal of systemd.
#pragma once

#include <string>
#include <sys/types.h>

namespace currentconnd {

// A calls::JournalWriter.
bool writeToJournal(const char* program, pid_t owner, int priority, const std::string& line);

}  // namespace currentconnd
