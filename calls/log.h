// The log of calls, and the system log for what concerns authorisation.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace calls {

enum class LogTo {
  kStandardError,  // as a daemon: for the journal with the priority, where it is the journal
  kSystemLog,      // as a command: warnings and worse, since its standard error is a person's
};

// Writes a line of the authorisation facility to the journal, for the daemon `owner`; false where
// the journal did not take it. Given by who links the journal's library: it brings half a dozen
// others, which a command would load in vain.
using JournalWriter = bool (*)(const char* program, pid_t owner, int priority,
                               const std::string& line);

// To be called once, before the first line. `program` is the name that lines stand under, a
// literal.
void openLog(const char* program, LogTo where, JournalWriter writer = nullptr);

// One line of `priority` (of <syslog.h>). It is lost where standard error takes nothing for a
// while, a pipe that nobody reads for instance. Texts from outside must have gone through
// inQuotes().
void logLine(int priority, const std::string& line);

// A line of the authorisation facility: logins, and calls that end or disable something. In the
// journal it stands with the daemon's unit; where standard error is not the journal, it stands
// there too, unless the log is the system's.
void logAuthorisation(int priority, const std::string& line);

// `text` in double quotes, made printable, with inner quotes and backslashes escaped, so that it
// cannot pass for another part of its line; at most `limit` bytes of it.
std::string inQuotes(std::string_view text, std::size_t limit = 128);

}  // namespace calls
