#include "enforce/session_file_section.h"

namespace {

constexpr int kWaitMilliseconds = 60000;

ZEVO_CGI* initialised(ZEVO_CGI* cgi) {
  ZevoCgiInit("", cgi);
  return cgi;
}

}  // namespace

SessionFileSection::SessionFileSection(int enterLine, int leaveLine)
    : leaveLine_(leaveLine),
      saved_((initialised(&cgi_), ENTERCriticalSection(enterLine))),
      handle_(ZevoCgiBeginCriticalSection(cgi_.lock, kWaitMilliseconds)) {}

SessionFileSection::~SessionFileSection() {
  if (entered()) ZevoCgiEndCriticalSection(handle_);
  LEAVECriticalSection(saved_, leaveLine_);
}
