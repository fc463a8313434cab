// The effective ids of the process, as a model: nothing changes in reality.
#pragma once

#include <map>
#include <string>
#include <sys/types.h>

#include "fakes/calls.h"

namespace fakes {

// Root until the test says otherwise, and then no change of an id is expected.
class Ids {
 public:
  explicit Ids(Calls& calls) : calls_(calls) {}

  // From here on changes of ids are scripted and succeed.
  void become(uid_t uid, gid_t gid);
  // The n-th change from now on (counted from 1) fails with `error`.
  void refuse(int nth, int error);

  // "uid:gid"
  [[nodiscard]] std::string text() const;

  uid_t readUid();
  gid_t readGid();
  int changeUid(uid_t real, uid_t effective, uid_t saved);
  int changeGid(gid_t real, gid_t effective, gid_t saved);

 private:
  int change(const char* function, unsigned real, unsigned effective, unsigned saved,
             unsigned* current);

  Calls& calls_;
  uid_t uid_ = 0;
  gid_t gid_ = 0;
  bool scripted_ = false;
  int changes_ = 0;
  std::map<int, int> refusals_;  // number of the change, error
};

}  // namespace fakes
