// The section that raises the effective group and user ids to 0 around one platform call and
// restores them. A guard ends it on every path out of the call: the platform's functions need not
// be noexcept, and std::bad_alloc may leave the section. Real and saved ids never change, and a
// failure is only logged: the platform call is made in any case, with the rights that the process
// then has. The ids apply to the whole process, so a host runs one request at a time in a process.
#pragma once

#include <sys/types.h>

struct SavedIds {
  uid_t uid;
  gid_t gid;
};

// Group first, then user. Returns the previous effective ids. errno is 0 afterwards, or 1 if an id
// was refused. `line` is the call site's line in log messages.
SavedIds ENTERCriticalSection(int line);

// Restores `saved`, through uid 0 if the current user id differs, since only root may change the
// group.
void LEAVECriticalSection(const SavedIds& saved, int line);

// The pair, for the lifetime of the value.
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
