#include "daemon/journal.h"

#include <syslog.h>

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

namespace currentconnd {

bool writeToJournal(const char* program, pid_t owner, int priority, const std::string& line) {
  // A call's process is gone before the journal can look up its unit, which is the daemon's.
  return ::sd_journal_send("MESSAGE=%s", line.c_str(), "PRIORITY=%i", priority,
                           "SYSLOG_FACILITY=%i", LOG_FAC(LOG_AUTHPRIV), "SYSLOG_IDENTIFIER=%s",
                           program, "OBJECT_PID=%i", static_cast<int>(owner), nullptr) >= 0;
}

}  // namespace currentconnd
