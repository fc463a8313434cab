// Titles of processes whose memory a user may control. A user can keep the reader of such a title
// waiting for ever, so another process reads them, which is killed then.
#pragma once

#include <chrono>
#include <map>
#include <set>
#include <span>
#include <sys/types.h>

#include "services/gone.h"
#include "services/process_files.h"

namespace zevo::connections {

class Sources;

// Those of one list.
class UserTitles {
 public:
  // Reads the titles of `processes` ahead, one after the other. If those of one user take two
  // seconds, the rest of them remain empty, with a note; after a few such users so do all that are
  // left.
  Result<void> read(const Sources& sources, std::span<const Process* const> processes);

  // The title of `process`, read now if it was not before.
  Result<Title> of(const Sources& sources, const Process& process);

 private:
  // Whether the title may be asked for; otherwise it is empty.
  bool isAskedFor(uid_t owner) const;
  void giveUp(const Sources& sources, const Process& process, uid_t owner);

  std::map<pid_t, Result<Title>> titles_;
  std::map<uid_t, std::chrono::milliseconds> spent_;  // by user
  std::set<uid_t> slow_;                              // users who kept the reader waiting
};

}  // namespace zevo::connections
