// The privileged section and, inside it, the critical section of the session file, for the lifetime
// of the value.
#pragma once

#include "zevo/cgi.h"

#include "api/privileged_section.h"

class SessionFileSection {
 public:
  // `enterLine` and `leaveLine` are those of the privileged section's log messages.
  SessionFileSection(int enterLine, int leaveLine);
  ~SessionFileSection();
  SessionFileSection(const SessionFileSection&) = delete;
  SessionFileSection& operator=(const SessionFileSection&) = delete;

  // Whether the critical section was entered: another program may hold it beyond the waiting time.
  [[nodiscard]] bool entered() const { return handle_ >= 0; }

 private:
  ZEVO_CGI cgi_;
  PrivilegedSection privileged_;
  int handle_;
};
