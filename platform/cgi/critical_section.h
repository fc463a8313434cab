// The critical section of a session file, for the lifetime of this object.
#pragma once

#include <string>

#include "zevo/cgi.h"

namespace zevo {

// Excludes other processes, but not other threads of this one. Never nested.
class CriticalSection {
 public:
  // Waits `milliseconds` at most; the last error is set if the section was not entered.
  CriticalSection(const std::string& sessionFile, int milliseconds) {
    ZEVO_CGI cgi;
    ZevoCgiInit(sessionFile.c_str(), &cgi);
    handle_ = ZevoCgiBeginCriticalSection(cgi.lock, milliseconds);
  }
  ~CriticalSection() { ZevoCgiEndCriticalSection(handle_); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  explicit operator bool() const { return handle_ >= 0; }

 private:
  int handle_ = -1;
};

}  // namespace zevo
