// The section that raises the effective group and user ids to 0 around one platform call and
// restores them. A guard ends it, so that no way out of the call skips the end: the platform's
// functions need not be noexcept, and std::bad_alloc may leave the section. Real and saved ids
// never change, and a failure is only logged: the platform call is made in any case, with the
// rights that the process then has. The ids are those of the whole process, so a host runs one
// request at a time in a process.
#pragma once

#include <sys/types.h>

struct SavedIds {
  uid_t uid;
  gid_t gid;
};

// Group first, then user. Returns the effective ids before. errno is 0 afterwards, or 1 where an id
// was refused. `line` is the call site's line in log messages.
SavedIds ENTERCriticalSection(int line);

// Back to `saved`, over uid 0 where the current user id differs, since only root may change the
// group.
void LEAVECriticalSection(const SavedIds& saved, int line);

// The pair, for as long as the value lives.
class PrivilegedSection {
 public:
  PrivilegedSection(int enterLine, int leaveLine)
      : leaveLine_(leaveLine), saved_(ENTERCriticalSection(enterLine)) {}
  ~PrivilegedSection() { LEAVECriticalSection(saved_, leaveLine_); }
  PrivilegedSection(const PrivilegedSection&) = delete;
  PrivilegedSection& operator=(const PrivilegedSection&) = delete;

 private:
  int leaveLine_;
  SavedIds saved_;
};
