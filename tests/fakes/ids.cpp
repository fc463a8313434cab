#include "fakes/ids.h"

#include <cerrno>
#include <unistd.h>

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

uid_t geteuid() noexcept {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("geteuid").ids.readUid();
}
gid_t getegid() noexcept {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("getegid").ids.readGid();
}
int setresuid(uid_t real, uid_t effective, uid_t saved) noexcept {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("setresuid").ids.changeUid(real, effective, saved);
}
int setresgid(gid_t real, gid_t effective, gid_t saved) noexcept {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("setresgid").ids.changeGid(real, effective, saved);
}

}  // extern "C"

namespace fakes {

void Ids::become(uid_t uid, gid_t gid) {
  uid_ = uid;
  gid_ = gid;
  scripted_ = true;
}

void Ids::refuse(int nth, int error) {
  refusals_[changes_ + nth] = error;
}

std::string Ids::text() const {
  return std::to_string(uid_) + ":" + std::to_string(gid_);
}

uid_t Ids::readUid() {
  calls_.record("geteuid()");
  return uid_;
}

gid_t Ids::readGid() {
  calls_.record("getegid()");
  return gid_;
}

int Ids::changeUid(uid_t real, uid_t effective, uid_t saved) {
  return change("setresuid", real, effective, saved, &uid_);
}

int Ids::changeGid(gid_t real, gid_t effective, gid_t saved) {
  return change("setresgid", real, effective, saved, &gid_);
}

int Ids::change(const char* function, unsigned real, unsigned effective, unsigned saved,
                unsigned* current) {
  const auto text = [](unsigned id) { return std::to_string(static_cast<int>(id)); };
  const std::string call =
      std::string(function) + "(" + text(real) + ", " + text(effective) + ", " + text(saved) + ")";
  if (!scripted_) {
    calls_.unscripted(call);
    errno = EPERM;
    return -1;
  }
  calls_.record(call);
  ++changes_;
  if (const auto refusal = refusals_.find(changes_); refusal != refusals_.end()) {
    errno = refusal->second;
    return -1;
  }
  *current = effective;
  return 0;
}

}  // namespace fakes
