// The log of calls, and the authorisation messages of the system log.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace calls {

enum class LogTo {
  kStandardError,  // a daemon: with the priority if standard error is the journal
  kSystemLog,      // a command: warnings and worse, since a person reads its standard error
};

// Writes a line of the authorisation facility to the journal, for the daemon `owner`; false if the
// journal did not take it. Given by who links the journal's library: it brings half a dozen others,
// which a command would load in vain.
using JournalWriter = bool (*)(const char* program, pid_t owner, int priority,
                               const std::string& line);

// Call this once, before the first line. `program` is the name in the lines, a literal.
void openLog(const char* program, LogTo where, JournalWriter writer = nullptr);

// Writes one line with `priority` (of <syslog.h>). It is lost if standard error blocks for some
// time, for example a pipe that nobody reads. Texts from outside must be passed through inQuotes().
void logLine(int priority, const std::string& line);

// Writes a line of the authorisation facility: logins, and calls that end connections or disable
// accounts. In the journal it belongs to the daemon's unit. If standard error is not the journal,
// the line is also written there, unless only the system log is used.
void logAuthorisation(int priority, const std::string& line);

// `text` in double quotes, made printable, with quotes and backslashes escaped, so that it cannot
// be mistaken for another part of the line; at most `limit` bytes of it.
std::string inQuotes(std::string_view text, std::size_t limit = 128);

}  // namespace calls
