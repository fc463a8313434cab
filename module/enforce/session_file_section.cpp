#include "enforce/session_file_section.h"

namespace {

constexpr int kWaitMilliseconds = 60000;

ZEVO_CGI newContext() {
  ZEVO_CGI cgi = {};
  ZevoCgiInit("", &cgi);
  return cgi;
}

}  // namespace

SessionFileSection::SessionFileSection(int enterLine, int leaveLine)
    : cgi_(newContext()),
      privileged_(enterLine, leaveLine),
      handle_(ZevoCgiBeginCriticalSection(cgi_.lock, kWaitMilliseconds)) {}

SessionFileSection::~SessionFileSection() {
  if (entered()) ZevoCgiEndCriticalSection(handle_);
}
