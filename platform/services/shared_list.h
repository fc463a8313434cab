// One read of the registry for concurrent calls.
//
// Many calls arrive at once: each row to be ended is a separate call, and each open page reads
// every few seconds. Each would start the services' tools again. Instead the first caller reads,
// and the others wait for its result.
//
// Why one list is right for every caller. A list that was begun after a call began is never older
// than what that call would have read itself. The registry is the same for all callers: it is read
// with root's rights, and permissions are checked above it. A caller that acts on a list (kick,
// disable) compares it with the request and checks again that each process exists, as after a read
// of its own. Everything else that a read depends on is in its key: the targets of the paths, the
// namespaces, the root directory, the time zone and the start of the system.
//
// Who can write it. The directory and the files belong only to the reading user (normally root),
// are opened without following links, and are checked once open; anything else is not trusted. If
// the directory cannot be used, each caller reads for itself.
//
// Waiting times. A read soon after another one starts with a delay equal to that one's duration, at
// most 250 ms, so that more calls share it. A reader holds a lock, which is released when its
// process ends, so that a crashed reader delays nobody. One that hangs loses it after `waitLimit`,
// which is also the longest wait of a caller. Two readers at once are harmless: the list is
// replaced completely and has its own time. The lock covers processes, not threads.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "services/connection_list.h"
#include "services/gone.h"
#include "services/paths.h"

namespace zevo::connections {

struct ListCall {
  std::chrono::nanoseconds begin;  // of the call, in time since the start of the system
  std::chrono::milliseconds acceptedAge{0};
  std::chrono::milliseconds waitLimit{0};
};

// A list, and the time of its read.
struct TimedList {
  std::chrono::nanoseconds began{0};
  std::chrono::nanoseconds ended{0};
  ConnectionList list;

  bool operator==(const TimedList&) const = default;
};

// How long a read starting `now` waits for more calls to share it, after the one that returned
// `last`.
std::chrono::nanoseconds restAfter(const TimedList& last, std::chrono::nanoseconds now);

// What another process's list must have in common with ours.
std::string sharingKey(const Paths& paths);

using ListReader = std::function<Result<void>(ConnectionList* list)>;

// Replaces *list by one whose read began no earlier than `call.acceptedAge` before the call: one
// that another process stored in the directory `paths.sharedList`, or the result of `read`, which
// is stored there for others. Fails like `read`; failures are not shared.
Result<void> readShared(const Paths& paths, const ListCall& call, const ListReader& read,
                        TimedList* list);

}  // namespace zevo::connections
