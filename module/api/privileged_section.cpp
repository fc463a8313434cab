#include "api/privileged_section.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "api/log.h"

namespace {

constexpr int kUnchanged = -1;

void logChange(const char* call, unsigned id, int line) {
  syslog(kLogAuthInfo, "%s:%d WARNING: set%s(%d, %d, %d)", kLogSource, line, call, kUnchanged,
         static_cast<int>(id), kUnchanged);
}

// `section` names the half of the pair that failed.
void logFailure(const char* call, unsigned id, const char* section, int line) {
  char buffer[1024] = {};
  // The GNU variant may leave the buffer unused and return another string.
  const char* reason = strerror_r(errno, buffer, sizeof buffer);
  syslog(kLogAuthError, "%s:%d ERROR: set%s(%d, %d, %d) [%s]", kLogSource, line, call, kUnchanged,
         static_cast<int>(id), kUnchanged, reason);
  errno = 1;
  syslog(kLogAuthError, "%s:%d ERROR: %s", kLogSource, line, section);
  errno = 1;
}

bool setEffectiveUser(uid_t uid) {
  return setresuid(static_cast<uid_t>(-1), uid, static_cast<uid_t>(-1)) == 0;
}
bool setEffectiveGroup(gid_t gid) {
  return setresgid(static_cast<gid_t>(-1), gid, static_cast<gid_t>(-1)) == 0;
}

}  // namespace

SavedIds ENTERCriticalSection(int line) {
  constexpr const char* kSection = "ENTERCriticalSection";
  const SavedIds saved = {geteuid(), getegid()};
  if (saved.gid != 0) {
    if (!setEffectiveGroup(0)) {
      logFailure("resgid", 0, kSection, line);
      return saved;
    }
    logChange("resgid", 0, line);
  }
  if (saved.uid != 0) {
    if (!setEffectiveUser(0)) {
      logFailure("resuid", 0, kSection, line);
      return saved;
    }
    logChange("resuid", 0, line);
  }
  errno = 0;
  return saved;
}

void LEAVECriticalSection(const SavedIds& saved, int line) {
  constexpr const char* kSection = "LEAVECriticalSection";
  uid_t uid = geteuid();
  const gid_t gid = getegid();
  if (uid != saved.uid) {
    if (!setEffectiveUser(0)) return logFailure("resuid", 0, kSection, line);
    logChange("resuid", 0, line);
    uid = 0;
  }
  if (gid != saved.gid) {
    if (!setEffectiveGroup(saved.gid)) return logFailure("resgid", saved.gid, kSection, line);
    if (saved.gid == 0) logChange("resgid", saved.gid, line);
  }
  if (uid != saved.uid) {
    if (!setEffectiveUser(saved.uid)) return logFailure("resuid", saved.uid, kSection, line);
    if (saved.uid == 0) logChange("resuid", saved.uid, line);
  }
  errno = 0;
}
